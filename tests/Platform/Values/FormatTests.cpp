#include "Platform/Values/Format.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Error;
using platform::Exception;
using platform::format;
using platform::Value;

TEST(FormatObject, PrintsEveryKindOfArgument) {
    EXPECT_EQ(format("%@", "text"), "text");
    EXPECT_EQ(format("%@", std::string("string")), "string");
    EXPECT_EQ(format("%@", std::string_view("view")), "view");
    EXPECT_EQ(format("%@ %@ %@", 1, -2L, 3U), "1 -2 3");
    EXPECT_EQ(format("%@", true), "1");
    EXPECT_EQ(format("%@", 0.5), "0.5");
    EXPECT_EQ(format("%@", Value(Array{1})), "(\n    1\n)");
    EXPECT_EQ(format("%@", Error("D", 2, {{platform::kLocalizedDescriptionKey, "t"}})),
              "Error Domain=D Code=2 \"t\"");
    EXPECT_EQ(format("%@", Exception("N", "reason")), "reason");
}

TEST(FormatObject, AbsentArgumentsPrintNullInParentheses) {
    const std::optional<std::string> nothing;
    const char* noText = nullptr;
    EXPECT_EQ(format("%@ %@ %@ %@", nothing, nullptr, std::nullopt, noText),
              "(null) (null) (null) (null)");
    EXPECT_EQ(format("%s %d %c", nothing, nothing, nothing), "(null) (null) (null)");
}

TEST(FormatObject, OptionalsPrintTheirValue) {
    const std::optional<std::string> text = "text";
    EXPECT_EQ(format("%@ %d", text, std::optional<int>(5)), "text 5");
}

TEST(FormatObject, ObservesWidthAndPrecisionInCharacters) {
    EXPECT_EQ(format("[%6@]", "äöü"), "[   äöü]");
    EXPECT_EQ(format("[%-6@]", "äöü"), "[äöü   ]");
    EXPECT_EQ(format("[%.2s]", "äöü"), "[äö]");
    EXPECT_EQ(format("[%5.1s]", "äöü"), "[    ä]");
    EXPECT_EQ(format("[%.s]", "text"), "[]");
}

TEST(FormatIntegers, DecimalFlagsWidthsAndPrecisions) {
    EXPECT_EQ(format("%d %i", 42, -42), "42 -42");
    EXPECT_EQ(format("[%5d] [%-5d] [%05d]", 42, 42, -42), "[   42] [42   ] [-0042]");
    EXPECT_EQ(format("%+d % d %+d", 1, 1, -1), "+1  1 -1");
    EXPECT_EQ(format("%.4d [%6.4d] [%06.4d]", 42, 42, 42), "0042 [  0042] [  0042]");
    EXPECT_EQ(format("[%-05d]", 42), "[42   ]");
    EXPECT_EQ(format("[%.0d] [%+.0d]", 0, 0), "[] [+]");
    EXPECT_EQ(format("%'d", 1234567), "1234567");
}

TEST(FormatIntegers, UnsignedOctalAndHexadecimal) {
    EXPECT_EQ(format("%u %o %x %X", 42, 42, 255, 255), "42 52 ff FF");
    EXPECT_EQ(format("%#o %#x %#X", 8, 255, 255), "010 0xff 0XFF");
    EXPECT_EQ(format("%#o %#x", 0, 0), "0 0");
    EXPECT_EQ(format("[%#08x] [%08X]", 255, 255), "[0x0000ff] [000000FF]");
    EXPECT_EQ(format("%.4x", 255), "00ff");
}

TEST(FormatIntegers, NegativeOnesKeepTheWidthOfTheirType) {
    EXPECT_EQ(format("%x", std::int32_t{-1}), "ffffffff");
    EXPECT_EQ(format("%lx", std::int32_t{-2}), "fffffffe");
    EXPECT_EQ(format("%x", std::int64_t{-1}), "ffffffffffffffff");
    EXPECT_EQ(format("%u", std::int32_t{-1}), "4294967295");
    EXPECT_EQ(format("%x", std::int8_t{-1}), "ffffffff");
}

TEST(FormatIntegers, LengthModifiersNarrowButNeverReadMore) {
    EXPECT_EQ(format("%ld %lld %qd %jd %zd %td %Ld", 1, 2, 3, 4, 5, 6, 7), "1 2 3 4 5 6 7");
    EXPECT_EQ(format("%hd %hhd", 65537, 257), "1 1");
    EXPECT_EQ(format("%hx %hhx", -1, -1), "ffff ff");
}

TEST(FormatIntegers, ExtremesPrintInFull) {
    EXPECT_EQ(format("%lld", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(format("%llu", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(format("%d", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(format("%d", std::int64_t{1} << 40), "1099511627776");
}

TEST(FormatDoubles, FixedScientificAndGeneral) {
    EXPECT_EQ(format("%f %F %.2f %.0f", 1.5, 1.5, 2.345, 2.5), "1.500000 1.500000 2.35 2");
    EXPECT_EQ(format("%e %.1E", 12345.678, 12345.678), "1.234568e+04 1.2E+04");
    EXPECT_EQ(format("%g %g %G %.3g", 100000.0, 1e6, 1e-5, 3.14159), "100000 1e+06 1E-05 3.14");
    EXPECT_EQ(format("%.0g", 3.7), "4");
    EXPECT_EQ(format("%a %A", 1.0, 0.5), "0x1p+0 0X1P-1");
    EXPECT_EQ(format("%.2a", 1.0), "0x1.00p+0");
}

TEST(FormatDoubles, FlagsAndWidths) {
    EXPECT_EQ(format("[%8.2f] [%-8.2f] [%08.2f]", -1.5, -1.5, -1.5),
              "[   -1.50] [-1.50   ] [-0001.50]");
    EXPECT_EQ(format("%+f % f", 1.0, 1.0), "+1.000000  1.000000");
    EXPECT_EQ(format("%#.0f %#.0e %#g %#.3g", 1.0, 1.0, 1.0, 1e10), "1. 1.e+00 1.00000 1.00e+10");
    EXPECT_EQ(format("%#.0a", 1.0), "0x1.p+0");
    EXPECT_EQ(format("[%010a]", 1.0), "[0x00001p+0]");
    EXPECT_EQ(format("%f", -0.0), "-0.000000");
}

TEST(FormatDoubles, InfinityAndNotANumberAreNotPaddedWithZeros) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(format("%f %F %e", infinity, -infinity, notANumber), "inf -INF nan");
    EXPECT_EQ(format("[%06f] [%06g]", infinity, notANumber), "[   inf] [   nan]");
    EXPECT_EQ(format("%f", -notANumber), "nan");
}

TEST(FormatDoubles, VeryLargeOnesPrintInFull) {
    EXPECT_EQ(format("%f", std::numeric_limits<double>::max()).size(), 316U);
    EXPECT_EQ(format("%.20f", 0.1), "0.10000000000000000555");
}

TEST(FormatCharacters, PrintTheCodePoint) {
    EXPECT_EQ(format("%c%c%c", 'a', 0xE9, 0x20AC), "aé€");
    EXPECT_EQ(format("[%3c] [%-3c]", 'a', 'b'), "[  a] [b  ]");
    EXPECT_EQ(format("%c%c", 0xD800, std::int64_t{-1}), "\uFFFD\uFFFD");
    EXPECT_EQ(format("[%c]", 0), "[]");
}

TEST(FormatPointers, PrintTheAddress) {
    EXPECT_EQ(format("%p", reinterpret_cast<const void*>(0x1f)), "0x1f");
    EXPECT_EQ(format("%@", reinterpret_cast<const void*>(0x1f)), "0x1f");
    EXPECT_EQ(format("%p", nullptr), "0x0");
    EXPECT_EQ(format("[%6p]", reinterpret_cast<const void*>(0x1f)), "[  0x1f]");
}

TEST(FormatMisfits, WrongKindsPrintReadably) {
    EXPECT_EQ(format("%d", "seven"), "seven");
    EXPECT_EQ(format("%.2d", "seven"), "seven");
    EXPECT_EQ(format("%x", std::string("seven")), "seven");
    EXPECT_EQ(format("%f", "seven"), "seven");
    EXPECT_EQ(format("%f %.1e", 7, 7), "7 7");
    EXPECT_EQ(format("%d %.1x", 7.25, 7.25), "7.25 7.25");
    EXPECT_EQ(format("%s", 7), "7");
    EXPECT_EQ(format("%c", "seven"), "seven");
    EXPECT_EQ(format("%p", 7), "7");
    EXPECT_EQ(format("[%7d]", "seven"), "[  seven]");
}

TEST(FormatMisfits, MissingArgumentsSaySo) {
    EXPECT_EQ(format("%@"), "(missing)");
    EXPECT_EQ(format("%d and %d", 1), "1 and (missing)");
    EXPECT_EQ(format("%2$@", "one"), "(missing)");
    EXPECT_EQ(format("%0$@", "one"), "(missing)");
    EXPECT_EQ(format("%99999999999999999999$@", "one"), "(missing)");
}

TEST(FormatMisfits, SurplusArgumentsAreIgnored) {
    EXPECT_EQ(format("%d", 1, 2, "three"), "1");
}

TEST(FormatMisfits, UnknownAndUnfinishedConversionsStandAsTheyAre) {
    EXPECT_EQ(format("100%"), "100%");
    EXPECT_EQ(format("%5"), "%5");
    EXPECT_EQ(format("%1$"), "%1$");
    EXPECT_EQ(format("%-08.3l"), "%-08.3l");
    EXPECT_EQ(format("%y %@", "next"), "%y next");
    EXPECT_EQ(format("%ü %@", "next"), "%ü next");
}

TEST(FormatMisfits, NothingIsEverWrittenThroughAnArgument) {
    int count = 77;
    EXPECT_EQ(format("ab%n%d", static_cast<const void*>(&count), 5), "ab(%n)5");
    EXPECT_EQ(format("%hhn %n", 1), "(%n) (%n)");
    EXPECT_EQ(count, 77);
}

TEST(FormatPercent, TwoPrintOne) {
    EXPECT_EQ(format("%%"), "%");
    EXPECT_EQ(format("%d%% of %%@", 5), "5% of %@");
    EXPECT_EQ(format("%5%"), "%");
}

TEST(FormatPositions, ArgumentsMayBeTakenInAnyOrderAndTwice) {
    EXPECT_EQ(format("%2$@ %1$@ %2$@", "a", "b"), "b a b");
    EXPECT_EQ(format("%2$05d", "a", 7), "00007");
    EXPECT_EQ(format("%2$@ %@ %@", "a", "b"), "b a b");
}

TEST(FormatStars, WidthsAndPrecisionsMayBeArguments) {
    EXPECT_EQ(format("[%*d] [%-*d]", 5, 42, 5, 42), "[   42] [42   ]");
    EXPECT_EQ(format("[%*d]", -5, 42), "[42   ]");
    EXPECT_EQ(format("[%.*f] [%.*f]", 1, 2.25, -1, 2.25), "[2.2] [2.250000]");
    EXPECT_EQ(format("[%1$*2$d]", 42, 5), "[   42]");
    EXPECT_EQ(format("[%1$.*2$f]", 1.0, 2U), "[1.00]");
}

TEST(FormatStars, MisfitsCountAsNone) {
    EXPECT_EQ(format("[%*d]", "wide", 42), "[42]");
    EXPECT_EQ(format("[%*d]", 3), "[(missing)]");
    EXPECT_EQ(format("[%1$*9$d]", 42), "[42]");
}

TEST(FormatLimits, HugeWidthsAreHeld) {
    EXPECT_EQ(format("%999999999999d", 1).size(), 10'000U);
    EXPECT_EQ(format("%.999999999999d", 1).size(), 10'000U);
    EXPECT_EQ(format("%.999999999999f", 0.0).size(), 10'002U);
    EXPECT_EQ(format("%*d", std::numeric_limits<std::int64_t>::min(), 1).size(), 10'000U);
    EXPECT_EQ(format("%*d", std::numeric_limits<std::uint64_t>::max(), 1).size(), 10'000U);
}

TEST(FormatLimits, ManyHugeWidthsTogetherAreHeldToo) {
    std::string text;
    for (int index = 0; index < 10'000; ++index) text += "%1$9000d%1$.9000f";
    EXPECT_LT(format(text, 1.5).size(), std::size_t{2} << 20);
    EXPECT_LT(format(text, 1).size(), std::size_t{2} << 20);
}

TEST(FormatLimits, ARepeatedLongArgumentIsCut) {
    std::string text;
    for (int index = 0; index < 1'000; ++index) text += "%1$@";
    const std::string printed = format(text, std::string(std::size_t{1} << 20, 'x'));
    EXPECT_LT(printed.size(), std::size_t{80} << 20);
    EXPECT_TRUE(printed.ends_with("x(cut)"));
}

TEST(FormatText, PassesThroughUntouched) {
    EXPECT_EQ(format(""), "");
    EXPECT_EQ(format("Größe — 大小 🎉"), "Größe — 大小 🎉");
    EXPECT_EQ(format(std::string_view("a\0b%d", 5), 1), std::string("a\0b1", 4));
}

}  // namespace
}  // namespace quillmore::tests
