#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "io/text_conversion.h"

namespace {

using ::testing::StrEq;
using ::testing::ThrowsMessage;
using ZEPTASDK::IO::Utf8ToWide;
using ZEPTASDK::IO::WideToUtf8;

// Every sequence length round-trips; surrogates, values above 0x10FFFF and
// malformed bytes throw.
TEST(TextConversionTest, EverySequenceLengthRoundTripsAndAnythingElseThrows)
{
    const std::wstring text = {L'/', wchar_t(0x7F), wchar_t(0xE9), wchar_t(0x7FF), wchar_t(0x800),
                               wchar_t(0x20AC), wchar_t(0xFFFF), wchar_t(0x10000), wchar_t(0x10FFFF)};
    const std::string bytes = WideToUtf8(text);
    EXPECT_EQ(bytes, "/\x7F\xC3\xA9\xDF\xBF\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(Utf8ToWide(bytes), text);
    for (wchar_t c : {wchar_t(0xD800), wchar_t(0xDFFF), wchar_t(0x110000)}) {
        EXPECT_THAT([c] { WideToUtf8(std::wstring(L"a") + c); },
                    ThrowsMessage<std::range_error>(StrEq("wstring_convert::to_bytes"))) << unsigned(c);
    }
    // Stray continuation, cut sequence, missing continuation, overlong forms,
    // an encoded surrogate, above 0x10FFFF, no such lead byte.
    for (const std::string malformed : {"\x80", "ab\xE2\x82", "\xC3(", "\xC0\x80", "\xE0\x80\xAF", "\xED\xA0\x80",
                                        "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"}) {
        EXPECT_THAT([&] { Utf8ToWide(malformed); },
                    ThrowsMessage<std::range_error>(StrEq("wstring_convert::from_bytes"))) << malformed.size();
    }
}

}  // namespace
