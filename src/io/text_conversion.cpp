#include "io/text_conversion.h"

#include <stdexcept>

namespace ZEPTASDK {
namespace IO {

namespace {

const char kEncodeError[] = "wstring_convert::to_bytes";
const char kDecodeError[] = "wstring_convert::from_bytes";

constexpr char32_t kMaxCodePoint = 0x10FFFF;
constexpr char32_t kSurrogateFirst = 0xD800;
constexpr char32_t kSurrogateLast = 0xDFFF;

constexpr unsigned char kContinuationMask = 0xC0;
constexpr unsigned char kContinuationTag = 0x80;
constexpr unsigned char kContinuationPayload = 0x3F;
constexpr int kContinuationBits = 6;

bool IsEncodable(char32_t codePoint)
{
    return codePoint <= kMaxCodePoint && (codePoint < kSurrogateFirst || codePoint > kSurrogateLast);
}

// One UTF-8 sequence form: its lead byte pattern, continuation count and the
// range of code points it carries (a smaller one would be overlong).
struct SequenceForm {
    unsigned char leadMask;
    unsigned char leadTag;
    int continuationBytes;
    char32_t smallest;
    char32_t largest;
};

constexpr SequenceForm kForms[] = {
    {0x80, 0x00, 0, 0x0, 0x7F},
    {0xE0, 0xC0, 1, 0x80, 0x7FF},
    {0xF0, 0xE0, 2, 0x800, 0xFFFF},
    {0xF8, 0xF0, 3, 0x10000, kMaxCodePoint},
};

void AppendEncoded(std::string& out, char32_t codePoint)
{
    for (const SequenceForm& form : kForms) {
        if (codePoint > form.largest) continue;
        int shift = kContinuationBits * form.continuationBytes;
        out.push_back(static_cast<char>(form.leadTag | (codePoint >> shift)));
        for (shift -= kContinuationBits; shift >= 0; shift -= kContinuationBits) {
            out.push_back(static_cast<char>(kContinuationTag | ((codePoint >> shift) & kContinuationPayload)));
        }
        return;
    }
}

const SequenceForm& FormOfLead(unsigned char lead)
{
    for (const SequenceForm& form : kForms) {
        if ((lead & form.leadMask) == form.leadTag) return form;
    }
    throw std::range_error(kDecodeError);
}

// Decodes the sequence that starts at bytes[pos] and advances pos past it.
char32_t DecodeOne(const std::string& bytes, std::size_t& pos)
{
    const unsigned char lead = static_cast<unsigned char>(bytes[pos++]);
    const SequenceForm& form = FormOfLead(lead);
    char32_t codePoint = lead & static_cast<unsigned char>(~form.leadMask);
    for (int i = 0; i < form.continuationBytes; ++i) {
        if (pos >= bytes.size()) throw std::range_error(kDecodeError);
        const unsigned char next = static_cast<unsigned char>(bytes[pos++]);
        if ((next & kContinuationMask) != kContinuationTag) throw std::range_error(kDecodeError);
        codePoint = (codePoint << kContinuationBits) | (next & kContinuationPayload);
    }
    if (codePoint < form.smallest || !IsEncodable(codePoint)) throw std::range_error(kDecodeError);
    return codePoint;
}

}  // namespace

std::string WideToUtf8(const std::wstring& text)
{
    std::string out;
    out.reserve(text.size());
    for (wchar_t c : text) {
        const char32_t codePoint = static_cast<char32_t>(c);
        if (!IsEncodable(codePoint)) throw std::range_error(kEncodeError);
        AppendEncoded(out, codePoint);
    }
    return out;
}

std::wstring Utf8ToWide(const std::string& bytes)
{
    std::wstring out;
    out.reserve(bytes.size());
    std::size_t pos = 0;
    while (pos < bytes.size()) out.push_back(static_cast<wchar_t>(DecodeOne(bytes, pos)));
    return out;
}

}  // namespace IO
}  // namespace ZEPTASDK
