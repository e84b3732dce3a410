#include "Platform/Mac/MacScriptRunner.h"

#include <Carbon/Carbon.h>

#include <bit>
#include <mutex>

#include "Platform/Mac/AppleEventData.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

static_assert(kScriptTypeNull == typeNull);
static_assert(kScriptTypeList == typeAEList);

/// The connection to AppleScript, shared by a runner and its scripts. The caller holds the lock.
class ScriptingComponent {
public:
    ScriptingComponent() = default;
    ~ScriptingComponent() {
        if (instance_ != nullptr) ::CloseComponent(instance_);
    }
    ScriptingComponent(const ScriptingComponent&) = delete;
    ScriptingComponent& operator=(const ScriptingComponent&) = delete;

    /// Null when AppleScript cannot be had.
    ComponentInstance instance() {
        if (instance_ == nullptr)
            instance_ = ::OpenDefaultComponent(kOSAComponentType, kAppleScriptSubtype);
        return instance_;
    }
    std::recursive_mutex& mutex() { return mutex_; }

private:
    std::recursive_mutex mutex_;  // a script may bring the same thread back for another
    ComponentInstance instance_ = nullptr;
};

namespace {

constexpr ByteOrder kNativeOrder =
    std::endian::native == std::endian::big ? ByteOrder::bigEndian : ByteOrder::littleEndian;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class CompiledScript final : public Script {
public:
    CompiledScript(std::shared_ptr<ScriptingComponent> component, std::string source)
        : component_(std::move(component)), source_(std::move(source)) {}
    ~CompiledScript() override {
        if (identifier_ == kOSANullScript) return;
        const std::lock_guard lock(component_->mutex());
        ::OSADispose(component_->instance(), identifier_);
    }
    CompiledScript(const CompiledScript&) = delete;
    CompiledScript& operator=(const CompiledScript&) = delete;

    ScriptingComponent& component() { return *component_; }
    OSAID identifier() const { return identifier_; }

    /// The caller holds the lock.
    OSStatus compile() {
        if (identifier_ != kOSANullScript) return noErr;
        const ComponentInstance instance = component_->instance();
        if (instance == nullptr) return errOSACantOpenComponent;
        AEDesc text{typeNull, nullptr};
        const OSStatus converted =
            ::AECoercePtr(typeUTF8Text, source_.data(), static_cast<Size>(source_.size()),
                          typeUnicodeText, &text);
        if (converted != noErr) return converted;
        const AppleEventData source(text);
        OSAID compiled = kOSANullScript;
        const OSStatus status = ::OSACompile(instance, source.get(), kOSAModeNull, &compiled);
        if (status == noErr) identifier_ = compiled;
        return status;
    }

private:
    const std::shared_ptr<ScriptingComponent> component_;
    const std::string source_;
    OSAID identifier_ = kOSANullScript;
};

/// Nothing for what has no string value.
std::optional<std::string> stringValueOf(const AppleEventData& item) {
    const AppleEventData text = item.coercedTo(typeUnicodeText);
    if (text.type() != typeUnicodeText) return std::nullopt;
    auto value = utf8FromUtf16(text.bytes(), kNativeOrder);
    if (value && value->starts_with(kByteOrderMark)) value->erase(0, kByteOrderMark.size());
    return value;
}

bool booleanValueOf(const AppleEventData& value) {
    if (value.type() == typeTrue) return true;
    if (value.type() == typeFalse) return false;
    const AppleEventData boolean = value.coercedTo(typeBoolean);
    if (boolean.type() != typeBoolean) return false;
    const std::string bytes = boolean.bytes();
    return !bytes.empty() && bytes.front() != 0;
}

std::vector<std::string> itemsOf(const AppleEventData& list) {
    std::vector<std::string> items;
    long count = 0;
    if (::AECountItems(list.get(), &count) != noErr) return items;
    for (long i = 1; i <= count; ++i) {
        AEKeyword keyword = 0;
        AEDesc made{typeNull, nullptr};
        if (::AEGetNthDesc(list.get(), i, typeWildCard, &keyword, &made) != noErr) continue;
        if (auto text = stringValueOf(AppleEventData(made))) items.push_back(std::move(*text));
    }
    return items;
}

ScriptDescriptor descriptorOf(const AppleEventData& value) {
    ScriptDescriptor descriptor;
    descriptor.type = value.type();
    if (descriptor.type == kScriptTypeList) descriptor.items = itemsOf(value);
    descriptor.booleanValue = booleanValueOf(value);
    return descriptor;
}

/// A script without a result gives the null type, as the platform's script objects do.
OSStatus takeResult(ComponentInstance instance, OSAID value,
                    std::optional<ScriptDescriptor>& result) {
    if (value == kOSANullScript) {
        result.emplace();
        return noErr;
    }
    AEDesc made{typeNull, nullptr};
    const OSStatus status = ::OSACoerceToDesc(instance, value, typeWildCard, kOSAModeNull, &made);
    ::OSADispose(instance, value);
    if (status == noErr) result = descriptorOf(AppleEventData(made));
    return status;
}

}  // namespace

MacScriptRunner::MacScriptRunner() : component_(std::make_shared<ScriptingComponent>()) {}

MacScriptRunner::~MacScriptRunner() = default;

std::unique_ptr<Script> MacScriptRunner::createScript(const std::string& source) {
    return std::make_unique<CompiledScript>(component_, source);
}

OSStatus MacScriptRunner::compile(Script& script) {
    auto* own = dynamic_cast<CompiledScript*>(&script);
    if (own == nullptr) return paramErr;
    const std::lock_guard lock(own->component().mutex());
    return own->compile();
}

OSStatus MacScriptRunner::execute(Script& script, std::optional<ScriptDescriptor>& result) {
    result.reset();
    auto* own = dynamic_cast<CompiledScript*>(&script);
    if (own == nullptr) return paramErr;
    const std::lock_guard lock(own->component().mutex());
    if (const OSStatus status = own->compile(); status != noErr) return status;
    const ComponentInstance instance = own->component().instance();
    OSAID value = kOSANullScript;
    const OSStatus status =
        ::OSAExecute(instance, own->identifier(), kOSANullScript, kOSAModeNull, &value);
    if (status != noErr) return status;
    return takeResult(instance, value, result);
}

}  // namespace quillmore::platform
