#include "Platform/Formats/PropertyList.h"
#include "Platform/Values/Base64.h"
#include "Platform/Values/DateText.h"
#include "Platform/Values/NumberText.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

constexpr std::string_view kOpening =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kClosing = "</plist>\n";
constexpr std::size_t kDataLineLength = 76;

class XmlWriter {
public:
    std::string write(const Value& value) {
        text_ = kOpening;
        writeValue(value);
        text_ += kClosing;
        return std::move(text_);
    }

private:
    void writeValue(const Value& value) {
        if (const auto* string = value.string()) {
            writeText("string", *string);
        } else if (const auto* boolean = value.boolean()) {
            writeLine(*boolean ? "<true/>" : "<false/>");
        } else if (const auto* integer = value.integer()) {
            writeText("integer", std::to_string(*integer));
        } else if (const auto* real = value.real()) {
            writeText("real", textFromDouble(*real));
        } else if (const auto* date = value.date()) {
            writeText("date", textFromDate(*date, "T", "Z"));
        } else if (const auto* data = value.data()) {
            writeData(*data);
        } else if (const auto* array = value.array()) {
            writeArray(*array);
        } else if (const auto* dictionary = value.dictionary()) {
            writeDictionary(*dictionary);
        }
    }

    void writeArray(const Array& array) {
        if (array.empty()) return writeLine("<array/>");
        writeLine("<array>");
        ++depth_;
        for (const Value& value : array) writeValue(value);
        --depth_;
        writeLine("</array>");
    }

    void writeDictionary(const Dictionary& dictionary) {
        if (dictionary.empty()) return writeLine("<dict/>");
        writeLine("<dict>");
        ++depth_;
        for (const auto& [key, value] : dictionary) {
            if (value.isNull()) continue;
            writeText("key", key);
            writeValue(value);
        }
        --depth_;
        writeLine("</dict>");
    }

    void writeData(const Data& data) {
        const std::string digits = base64FromData(data);
        writeLine("<data>");
        for (std::size_t index = 0; index < digits.size(); index += kDataLineLength) {
            writeLine(std::string_view(digits).substr(index, kDataLineLength));
        }
        writeLine("</data>");
    }

    void writeText(std::string_view element, std::string_view text) {
        text_.append(depth_, '\t').append("<").append(element) += '>';
        if (isUtf8(text)) {
            appendEscaped(text);
        } else {
            // One bad byte must not make the whole file unreadable.
            appendEscaped(repairedUtf8(text));
        }
        text_.append("</").append(element).append(">\n");
    }

    void writeLine(std::string_view line) { text_.append(depth_, '\t').append(line) += '\n'; }

    void appendEscaped(std::string_view text) {
        for (const char character : text) {
            const auto byte = static_cast<unsigned char>(character);
            if (character == '&') {
                text_ += "&amp;";
            } else if (character == '<') {
                text_ += "&lt;";
            } else if (character == '>') {
                text_ += "&gt;";
            } else if (byte >= 0x20 || character == '\t' || character == '\n') {
                text_ += character;
            } else if (byte != 0) {
                // A carriage return as it stands would be read as a line feed.
                text_ += "&#" + std::to_string(byte) + ";";
            } else {
                // XML has no form for the zero character.
                appendUtf8(text_, 0xFFFD);
            }
        }
    }

    std::string text_;
    std::size_t depth_ = 0;
};

}  // namespace

std::string writePropertyList(const Value& value) {
    return XmlWriter().write(value);
}

}  // namespace quillmore::platform
