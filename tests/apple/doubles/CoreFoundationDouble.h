// Core Foundation double: counted objects. Each is in the ledger as "object" from its making to its
// last release.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quillmore::apple {

enum class Kind : CFTypeID { string = 1, number, array, dictionary, keychainItem };

/// Every CFTypeRef points to one of these.
struct Object {
    explicit Object(Kind its) : kind(its) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    const Kind kind;
    int references = 1;
};

struct String final : Object {
    explicit String(std::string its) : Object(Kind::string), text(std::move(its)) {}
    const std::string text;
    bool hasUtf8 = true;  // half a surrogate pair has none
};

struct Number final : Object {
    explicit Number(std::int64_t its) : Object(Kind::number), value(its) {}
    const std::int64_t value;
};

struct Array final : Object {
    Array() : Object(Kind::array) {}
    ~Array() override;
    std::vector<CFTypeRef> items;  // one reference each
};

struct Dictionary final : Object {
    Dictionary() : Object(Kind::dictionary) {}
    ~Dictionary() override;
    std::map<std::string, CFTypeRef> entries;  // one reference each
};

// Each gives one reference to the caller, and takes those that it is given.
CFTypeRef adopt(Object* object);
CFTypeRef makeString(const std::string& text);
CFTypeRef makeStringWithoutUtf8();
CFTypeRef makeNumber(std::int64_t value);
CFTypeRef makeArray(std::vector<CFTypeRef> items);
CFTypeRef makeDictionary(std::map<std::string, CFTypeRef> entries);

/// The text of a string, "?" of anything else.
std::string describe(CFTypeRef string);
/// The texts of an array of strings, "[A, B]".
std::string describeList(CFTypeRef array);

}  // namespace quillmore::apple
