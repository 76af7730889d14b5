#include <gtest/gtest.h>

#include <stdexcept>

#include "io/text_conversion.h"

namespace {

using ZEPTASDK::IO::Utf8ToWide;
using ZEPTASDK::IO::WideToUtf8;

template <class Call>
std::string RangeErrorOf(Call call)
{
    try {
        call();
    } catch (const std::range_error& e) {
        return e.what();
    }
    return "no exception";
}

TEST(TextConversionTest, EncodesEverySequenceLength)
{
    const std::wstring text = {L'/', static_cast<wchar_t>(0x7F), static_cast<wchar_t>(0xE9),
                               static_cast<wchar_t>(0x7FF), static_cast<wchar_t>(0x800),
                               static_cast<wchar_t>(0x20AC), static_cast<wchar_t>(0xFFFF),
                               static_cast<wchar_t>(0x10000), static_cast<wchar_t>(0x10FFFF)};
    const std::string bytes = WideToUtf8(text);

    EXPECT_EQ(bytes, "/\x7F\xC3\xA9\xDF\xBF\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(Utf8ToWide(bytes), text);
}

TEST(TextConversionTest, EmptyAndAsciiPassUnchanged)
{
    EXPECT_EQ(WideToUtf8(L""), "");
    EXPECT_EQ(Utf8ToWide(""), L"");
    EXPECT_EQ(WideToUtf8(L"/dev/ttyACM0"), "/dev/ttyACM0");
    EXPECT_EQ(Utf8ToWide("/dev/ttyACM0"), L"/dev/ttyACM0");
}

TEST(TextConversionTest, UnencodableCharactersThrow)
{
    for (wchar_t c : {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDFFF), static_cast<wchar_t>(0x110000)}) {
        EXPECT_EQ(RangeErrorOf([c] { WideToUtf8(std::wstring(L"a") + c); }), "wstring_convert::to_bytes")
            << static_cast<unsigned>(c);
    }
}

TEST(TextConversionTest, MalformedBytesThrow)
{
    const std::string malformed[] = {
        "\x80",              // continuation without a lead byte
        "ab\xE2\x82",        // sequence cut short
        "\xC3(",             // lead byte followed by no continuation
        "\xC0\x80",          // overlong form of NUL
        "\xE0\x80\xAF",      // overlong three-byte form
        "\xED\xA0\x80",      // encoded surrogate
        "\xF4\x90\x80\x80",  // above 0x10FFFF
        "\xF8\x88\x80\x80\x80",
        "\xFF",
    };
    for (const std::string& bytes : malformed) {
        EXPECT_EQ(RangeErrorOf([&] { Utf8ToWide(bytes); }), "wstring_convert::from_bytes") << bytes.size();
    }
}

}  // namespace
