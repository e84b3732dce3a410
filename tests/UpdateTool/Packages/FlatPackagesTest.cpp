#include "UpdateTool/Packages/FlatPackages.h"

#include <gtest/gtest.h>

#include "tests/UpdateTool/Packages/PackedBytes.h"
#include "tests/UpdateTool/Refusal.h"

namespace quillmore::tests {
namespace {

const std::string kDamaged = "65: the package is damaged";
const std::string kHoldsTooMuch = "65: the package holds too much";
const std::string kNoPackage = "65: the file is not an installer package";
const std::string kInformation = "<pkg-info install-location=\"/Library/Frameworks\"/>";
constexpr std::size_t kMiB = 1 << 20;

std::string number(std::uint64_t value, int size) {
    std::string text;
    while (size-- > 0) text += static_cast<char>(value >> (8 * size) & 0xff);
    return text;
}

/// What the header says of the table, when it is not the truth.
struct Header {
    std::string mark = "xar!";
    std::uint64_t size = 28;
    std::int64_t packedSizeError = 0;
    std::int64_t tableSizeError = 0;
};

/// Byte by byte, so that a test can say things in one that no archiver would.
std::string xar(const std::string& table, const std::string& heap, const Header& header = {}) {
    const std::string packedTable = packed(table, Packing::zlib);
    std::string text = header.mark + number(header.size, 2) + number(1, 2) +
                       number(packedTable.size() + header.packedSizeError, 8) +
                       number(table.size() + header.tableSizeError, 8) + number(1, 4);
    // The table begins where the header is said to end, also when that is too early.
    if (header.size + 1 >= text.size()) text.resize(header.size);
    return text + packedTable + heap;
}

std::string fileElement(const std::string& name, const std::string& data,
                        const std::string& type = "file") {
    return "<file><name>" + name + "</name><type>" + type + "</type>" + data + "</file>";
}
std::string dataElement(std::size_t offset, std::size_t length, std::size_t size,
                        const std::string& encoding = "") {
    return "<data><offset>" + std::to_string(offset) + "</offset><length>" +
           std::to_string(length) + "</length><size>" + std::to_string(size) + "</size>" +
           encoding + "</data>";
}
std::string encoding(const std::string& style) {
    return "<encoding style=\"" + style + "\"/>";
}
std::string table(const std::string& files) {
    return "<xar><toc>" + files + "</toc></xar>";
}
const std::string kInformationElement =
    fileElement("PackageInfo", dataElement(0, kInformation.size(), kInformation.size()));
/// Five bytes behind the information.
const std::string kPayloadElement = fileElement("Payload", dataElement(kInformation.size(), 5, 5));
const std::string kHeap = kInformation + "bytes";

updatetool::FlatPackage readPackage(const std::string& bytes) {
    return updatetool::readFlatPackage(bytesIn(bytes));
}
std::string refusalOfPackage(const std::string& bytes) {
    return refusalOf([&] { readPackage(bytes); });
}
std::string refusalOfFiles(const std::string& files, const std::string& heap = kHeap) {
    return refusalOfPackage(xar(table(files), heap));
}
/// The payload's element has this in it.
std::string refusalOfPayload(const std::string& data) {
    return refusalOfFiles(kInformationElement + fileElement("Payload", data));
}

TEST(FlatPackage, LocationAndPayloadAreRead) {
    const auto package = readPackage(xar(table(kInformationElement + kPayloadElement), kHeap));
    EXPECT_EQ(package.installLocation, "/Library/Frameworks");
    EXPECT_EQ(package.payload, bytesIn("bytes"));
}
TEST(FlatPackage, PackedEntriesAreUnpackedAndPlainOnesAreNot) {
    const std::string bytes = packed("payload", Packing::zlib);
    const auto package = readPackage(xar(
        table(fileElement("PackageInfo", dataElement(0, kInformation.size(), kInformation.size(),
                                                     encoding("application/octet-stream"))) +
              fileElement("Payload", dataElement(kInformation.size(), bytes.size(), 7,
                                                 encoding("application/x-gzip")))),
        kInformation + bytes));
    EXPECT_EQ(package.payload, bytesIn("payload"));
}
TEST(FlatPackage, OtherFilesAreNoPackages) {
    const std::string whole = xar(table(kInformationElement + kPayloadElement), kHeap);
    EXPECT_EQ(refusalOfPackage(""), kNoPackage);
    EXPECT_EQ(refusalOfPackage(whole.substr(0, 27)), kNoPackage);
    EXPECT_EQ(refusalOfPackage(whole.substr(0, 28)), kDamaged);
    for (const char* mark : {"Xar!", "xar?", "PK\x03\x04"})
        EXPECT_EQ(refusalOfPackage(xar(table(kInformationElement), kHeap, {mark})), kNoPackage);
}
TEST(FlatPackage, HeaderHas28BytesAtLeast) {
    const std::string files = table(kInformationElement + kPayloadElement);
    EXPECT_EQ(refusalOfPackage(xar(files, kHeap, {"xar!", 28})), "");
    EXPECT_EQ(refusalOfPackage(xar(files, kHeap, {"xar!", 64})), "");
    EXPECT_EQ(refusalOfPackage(xar(files, kHeap, {"xar!", 27})), kDamaged);
    EXPECT_EQ(refusalOfPackage(xar(files, kHeap, {"xar!", 0})), kDamaged);
}
TEST(FlatPackage, HeaderTellsTheTablesSizesExactly) {
    const std::string files = table(kInformationElement + kPayloadElement);
    for (const std::int64_t error : {-1, 1})
        EXPECT_EQ(refusalOfPackage(xar(files, kHeap, {"xar!", 28, 0, error})), kDamaged) << error;
    const auto beyond = static_cast<std::int64_t>(kHeap.size()) + 1;
    for (const std::int64_t error : {std::int64_t{-1}, beyond, INT64_MAX})
        EXPECT_EQ(refusalOfPackage(xar(files, kHeap, {"xar!", 28, error})), kDamaged) << error;
}
TEST(FlatPackage, TableThatCannotBeReadIsDamage) {
    for (const char* text : {"", "no XML", "<xar/>", "<xar><TOC/></xar>"})
        EXPECT_EQ(refusalOfPackage(xar(text, "")), kDamaged) << text;
}
TEST(FlatPackage, TableHas8MiBAtMost) {
    std::string text = table(kInformationElement + kPayloadElement);
    text.resize(8 * kMiB, ' ');
    EXPECT_EQ(refusalOfPackage(xar(text, kHeap)), "");
    EXPECT_EQ(refusalOfPackage(xar(text + " ", kHeap)), kHoldsTooMuch);
}
TEST(FlatPackage, InformationHas1MiBAtMostPackedOrNot) {
    std::string text = kInformation;
    for (const std::size_t size : {kMiB, kMiB + 1}) {
        text.resize(size, ' ');
        const std::string expected = size == kMiB ? "" : kHoldsTooMuch;
        EXPECT_EQ(refusalOfFiles(fileElement("PackageInfo", dataElement(0, size, size)) +
                                     fileElement("Payload", dataElement(0, 1, 1)),
                                 text),
                  expected);
        const std::string bytes = packed(text, Packing::zlib);
        EXPECT_EQ(
            refusalOfFiles(fileElement("PackageInfo", dataElement(0, bytes.size(), size,
                                                                  encoding("application/x-gzip"))) +
                               fileElement("Payload", dataElement(0, 1, 1)),
                           bytes),
            expected);
    }
}
TEST(FlatPackage, PayloadHas1GiBAtMost) {
    EXPECT_EQ(refusalOfPayload(dataElement(0, 5, 1024 * kMiB)), kDamaged);
    EXPECT_EQ(refusalOfPayload(dataElement(0, 5, 1024 * kMiB + 1)), kHoldsTooMuch);
}
TEST(FlatPackage, EntryLiesWithinTheFile) {
    const std::size_t end = kHeap.size();
    EXPECT_EQ(refusalOfPayload(dataElement(end - 1, 1, 1)), "");
    EXPECT_EQ(refusalOfPayload(dataElement(end, 0, 0)), "");
    EXPECT_EQ(refusalOfPayload(dataElement(end, 1, 1)), kDamaged);
    EXPECT_EQ(refusalOfPayload(dataElement(end + 1, 0, 0)), kDamaged);
    EXPECT_EQ(refusalOfPayload(dataElement(1, UINT64_MAX, 5)), kDamaged);
    EXPECT_EQ(refusalOfPayload(dataElement(UINT64_MAX, 5, 5)), kDamaged);
    EXPECT_EQ(refusalOfPayload(dataElement(2, UINT64_MAX - 1, 5, encoding("application/x-gzip"))),
              kDamaged);
}
TEST(FlatPackage, EntryIsAsLongAsItSays) {
    EXPECT_EQ(refusalOfPayload(dataElement(0, 5, 4)), kDamaged);
    EXPECT_EQ(refusalOfPayload(dataElement(0, 5, 6)), kDamaged);
    const std::string bytes = packed("payload", Packing::zlib);
    for (const std::size_t size : {6u, 8u})
        EXPECT_EQ(refusalOfFiles(
                      kInformationElement +
                          fileElement("Payload", dataElement(kInformation.size(), bytes.size(),
                                                             size, encoding("application/x-gzip"))),
                      kInformation + bytes),
                  kDamaged)
            << size;
}
TEST(FlatPackage, EntryWithoutItsNumbersIsDamaged) {
    for (const char* data :
         {"", "<data/>", "<data><offset>0</offset><length>5</length></data>",
          "<data><offset>0</offset><length>5</length><size></size></data>",
          "<data><offset>0</offset><length>5</length><size>-5</size></data>",
          "<data><offset>0</offset><length>5</length><size>5x</size></data>",
          "<data><offset> 0</offset><length>5</length><size>5</size></data>",
          "<data><offset>0</offset><length>0x5</length><size>5</size></data>",
          "<data><offset>0</offset><length>5</length><size>18446744073709551621</size></data>"})
        EXPECT_EQ(refusalOfPayload(data), kDamaged) << data;
}
TEST(FlatPackage, UnknownPackingIsRefused) {
    EXPECT_EQ(refusalOfPayload(dataElement(0, 5, 5, encoding("application/x-bzip2"))),
              "65: the package is compressed in a way that is not known here");
}
TEST(FlatPackage, TwoEntriesOfOneNameAreRefused) {
    const std::string refusal = "65: the package has two entries of one name";
    EXPECT_EQ(refusalOfFiles(kInformationElement + kPayloadElement + kPayloadElement), refusal);
    EXPECT_EQ(refusalOfFiles(kInformationElement + kInformationElement + kPayloadElement), refusal);
}
TEST(FlatPackage, OnlyFilesAtTheTopOfTheTableCount) {
    const std::string noParts = "65: the package has no PackageInfo or no Payload";
    const std::string data = dataElement(0, 5, 5);
    EXPECT_EQ(refusalOfFiles(kInformationElement), noParts);
    EXPECT_EQ(refusalOfFiles(kPayloadElement), noParts);
    EXPECT_EQ(refusalOfFiles(kInformationElement + fileElement("payload", data)), noParts);
    EXPECT_EQ(refusalOfFiles(kInformationElement + fileElement("Payload", data, "directory")),
              noParts);
    EXPECT_EQ(
        refusalOfFiles(kInformationElement + fileElement("folder", kPayloadElement, "directory")),
        noParts);
    EXPECT_EQ(refusalOfFiles(kInformationElement + "<other><name>Payload</name><type>file</type>" +
                             data + "</other>"),
              noParts);
    EXPECT_EQ(refusalOfFiles(kInformationElement + kPayloadElement +
                             fileElement("Payload", data, "directory")),
              "");
}
TEST(FlatPackage, InformationIsXmlOfItsOwnKind) {
    for (const std::string text : {"<pkg-ref install-location=\"/\"/>", "no XML", "<pkg-info"})
        EXPECT_EQ(
            refusalOfFiles(fileElement("PackageInfo", dataElement(0, text.size(), text.size())) +
                               fileElement("Payload", dataElement(0, 1, 1)),
                           text),
            "65: the package's PackageInfo cannot be read")
            << text;
    const std::string text = "<pkg-info/>";
    EXPECT_EQ(
        readPackage(xar(table(fileElement("PackageInfo", dataElement(0, text.size(), text.size())) +
                              fileElement("Payload", dataElement(0, 1, 1))),
                        text))
            .installLocation,
        "");
}

}  // namespace
}  // namespace quillmore::tests
