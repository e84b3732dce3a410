#include <iconv.h>

#include <algorithm>
#include <cstring>

#include "tests/apple/doubles/EventsDouble.h"
#include "tests/apple/doubles/Ledger.h"

using namespace quillmore::apple;

namespace quillmore::apple {

namespace {

constexpr const char* kDescriptor = "descriptor";

std::string converted(const std::string& bytes, const char* to, const char* from) {
    std::string result(bytes.size() * 4 + 4, '\0');
    char* input = const_cast<char*>(bytes.data());
    char* output = result.data();
    std::size_t inputLeft = bytes.size();
    std::size_t outputLeft = result.size();
    const iconv_t converter = ::iconv_open(to, from);
    ::iconv(converter, &input, &inputLeft, &output, &outputLeft);
    ::iconv_close(converter);
    result.resize(result.size() - outputLeft);
    return result;
}

/// The coercions that the tests need; others fail.
bool coerce(const ScriptValue& value, DescType toType, ScriptValue& result) {
    if (toType == value.type || toType == typeWildCard) {
        result = value;
        return true;
    }
    if (toType == typeUnicodeText && value.type == typeUTF8Text) {
        result = unicodeText(value.bytes);
        return true;
    }
    if (toType == typeBoolean && value.type == 'long') {
        result = {
            typeBoolean, std::string(1, value.bytes == std::string(4, '\0') ? '\0' : '\1'), {}};
        return true;
    }
    return false;
}

OSErr coerceInto(const ScriptValue& value, DescType toType, AEDesc* result) {
    ScriptValue coerced;
    if (!coerce(value, toType, coerced)) return errAECoercionFail;
    *result = makeDescriptor(coerced);
    return noErr;
}

std::string bytesAt(const void* data, Size size) {
    return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

/// What a failed call may leave behind: must not be disposed of.
AEDesc rubbish() {
    static char memory = 0;
    return {typeNull, reinterpret_cast<AEDataStorage>(&memory)};
}

}  // namespace

std::string utf16FromUtf8(const std::string& text) {
    return converted(text, "UTF-16LE", "UTF-8");
}

std::string utf8FromUtf16(const std::string& bytes) {
    return converted(bytes, "UTF-8", "UTF-16LE");
}

ScriptValue unicodeText(const std::string& utf8) {
    return {typeUnicodeText, utf16FromUtf8(utf8), {}};
}

ScriptValue listOf(std::vector<ScriptValue> items) {
    return {typeAEList, "", std::move(items)};
}

std::string fourCharacters(FourCharCode code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift & 0xFF);
    return text;
}

AEDesc makeDescriptor(const ScriptValue& value) {
    auto* content = new ScriptValue(value);
    ledger().handOut(content, kDescriptor);
    return {value.type, reinterpret_cast<AEDataStorage>(content)};
}

const ScriptValue& contentOf(const AEDesc* descriptor) {
    return *reinterpret_cast<const ScriptValue*>(descriptor->dataHandle);
}

std::string describe(const AEDesc* descriptor) {
    if (descriptor == nullptr) return "-";
    if (!ledger().isAlive(descriptor->dataHandle)) return "not alive";
    return fourCharacters(descriptor->descriptorType) + ":" + contentOf(descriptor).bytes;
}

}  // namespace quillmore::apple

OSErr AECreateDesc(DescType typeCode, const void* dataPtr, Size dataSize, AEDesc* result) {
    const std::string bytes = bytesAt(dataPtr, dataSize);
    *result = rubbish();
    if (const int status = ledger().enter("AECreateDesc", {fourCharacters(typeCode), bytes}))
        return static_cast<OSErr>(status);
    *result = makeDescriptor({typeCode, bytes, {}});
    return noErr;
}

OSErr AEDisposeDesc(AEDesc* theAEDesc) {
    ledger().enter("AEDisposeDesc", {fourCharacters(theAEDesc->descriptorType)});
    auto* content = reinterpret_cast<ScriptValue*>(theAEDesc->dataHandle);
    if (content != nullptr && ledger().takeBack(content, kDescriptor)) delete content;
    *theAEDesc = {typeNull, nullptr};
    return noErr;
}

OSErr AECoercePtr(DescType typeCode, const void* dataPtr, Size dataSize, DescType toType,
                  AEDesc* result) {
    *result = rubbish();
    if (const int status = ledger().enter("AECoercePtr")) return static_cast<OSErr>(status);
    return coerceInto({typeCode, bytesAt(dataPtr, dataSize), {}}, toType, result);
}

OSErr AECoerceDesc(const AEDesc* theAEDesc, DescType toType, AEDesc* result) {
    if (theAEDesc->dataHandle == nullptr) return errAECoercionFail;
    return coerceInto(contentOf(theAEDesc), toType, result);
}

Size AEGetDescDataSize(const AEDesc* theAEDesc) {
    return static_cast<Size>(contentOf(theAEDesc).bytes.size());
}

OSErr AEGetDescData(const AEDesc* theAEDesc, void* dataPtr, Size maximumSize) {
    const std::string& bytes = contentOf(theAEDesc).bytes;
    std::memcpy(dataPtr, bytes.data(),
                std::min(bytes.size(), static_cast<std::size_t>(maximumSize)));
    return noErr;
}

OSErr AECountItems(const AEDescList* theAEDescList, long* theCount) {
    if (const int status = ledger().enter("AECountItems")) return static_cast<OSErr>(status);
    *theCount = static_cast<long>(contentOf(theAEDescList).items.size());
    return noErr;
}

OSErr AEGetNthDesc(const AEDescList* theAEDescList, long index, DescType desiredType,
                   AEKeyword* theAEKeyword, AEDesc* result) {
    const auto& items = contentOf(theAEDescList).items;
    if (index < 1 || index > static_cast<long>(items.size())) return -1701;
    if (theAEKeyword == nullptr) ledger().problems.emplace_back("no place for the keyword");
    return coerceInto(items[static_cast<std::size_t>(index - 1)], desiredType, result);
}

OSErr AECreateAppleEvent(AEEventClass theAEEventClass, AEEventID theAEEventID,
                         const AEAddressDesc* target, AEReturnID returnID,
                         AETransactionID transactionID, AppleEvent* result) {
    *result = rubbish();
    if (const int status = ledger().enter(
            "AECreateAppleEvent",
            {fourCharacters(theAEEventClass), fourCharacters(theAEEventID), describe(target),
             std::to_string(returnID), std::to_string(transactionID)}))
        return static_cast<OSErr>(status);
    *result = makeDescriptor({'aevt', fourCharacters(theAEEventID), {}});
    return noErr;
}

OSStatus AEBuildAppleEvent(AEEventClass theClass, AEEventID theID, DescType addressType,
                           const void* addressData, Size addressLength, SInt16 returnID,
                           SInt32 transactionID, AppleEvent* result, AEBuildError* error,
                           const char* paramsFmt, ...) {
    *result = rubbish();
    if (error != nullptr) ledger().problems.emplace_back("a place for build errors");
    if (const int status = ledger().enter(
            "AEBuildAppleEvent",
            {fourCharacters(theClass), fourCharacters(theID), fourCharacters(addressType),
             bytesAt(addressData, addressLength), std::to_string(returnID),
             std::to_string(transactionID), "\"" + std::string(paramsFmt) + "\""}))
        return status;
    *result = makeDescriptor({'aevt', fourCharacters(theID), {}});
    return noErr;
}

OSStatus AESendMessage(const AppleEvent* event, AppleEvent* reply, AESendMode sendMode,
                       long timeOutInTicks) {
    return ledger().enter("AESendMessage",
                          {describe(event), describe(reply), std::to_string(sendMode),
                           std::to_string(timeOutInTicks)});
}

OSErr AESend(const AppleEvent* theAppleEvent, AppleEvent* reply, AESendMode sendMode,
             AESendPriority sendPriority, SInt32 timeOutInTicks, AEIdleUPP idleProc,
             AEFilterUPP filterProc) {
    *reply = rubbish();
    if (idleProc != nullptr || filterProc != nullptr)
        ledger().problems.emplace_back("an idle or filter procedure");
    if (const int status = ledger().enter(
            "AESend", {describe(theAppleEvent), std::to_string(sendMode),
                       std::to_string(sendPriority), std::to_string(timeOutInTicks)}))
        return static_cast<OSErr>(status);
    *reply = makeDescriptor({'aevt', "ansr", {}});
    return noErr;
}
