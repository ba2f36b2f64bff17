// The Skein-256 engine fed a message in pieces of any sizes, and digests read from any text.
// Invariants: a split feed, digests taken between pieces and a copy of the engine continuing on
// its own all give the one-shot digest, which is written as 64 lower-case hexadecimal digits
// and reads back; reading a digest takes one word as reading a std::string does, a 64-digit
// hexadecimal word in either case, and ignores a word of another length.
// Input: a count and sizes of pieces, the message (two texts), a width, then the digest text.

#include "tsfuzzsupport.h"

#include <cctype>
#include <vector>

using namespace TsFuzz;
using namespace Tessel::Base::SkeinHash;

namespace {
std::string hex(const Digest& digest) {
    std::ostringstream text;
    text << digest;
    return text.str();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    std::vector<std::size_t> pieces(in.byte() % 8);
    std::generate(pieces.begin(), pieces.end(), [&in] { return in.byte(); });
    std::string message = in.text();
    message += in.text();
    const Digest whole = Engine().update(message.data(), message.size()).digest();
    Engine split;
    std::size_t fed = 0;
    for (std::size_t piece : pieces) {
        piece = std::min(piece, message.size() - fed);
        split.update(piece == 0 ? nullptr : message.data() + fed, piece);
        fed += piece;
        TSFUZZ_CHECK(split.digest() == Engine().update(message.data(), fed).digest());
    }
    Engine copy = split;
    TSFUZZ_CHECK(split.update(message.data() + fed, message.size() - fed).digest() == whole);
    TSFUZZ_CHECK(copy.update(message.data() + fed, message.size() - fed).digest() == whole);
    Digest back;
    std::istringstream(hex(whole)) >> back;
    TSFUZZ_CHECK(back == whole && hex(whole).find_first_not_of("0123456789abcdef") == std::string::npos);

    const std::streamsize width = in.byte() % 80;
    const std::string text = in.rest();
    std::istringstream digests(text), words(text);
    for (Digest read = whole, before = whole; digests || words; before = read) {
        std::string word;
        digests.width(width);
        words.width(width);
        digests >> read;
        words >> word;
        TSFUZZ_CHECK(digests.rdstate() == words.rdstate() && digests.tellg() == words.tellg());
        std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
        const bool hexadecimal = word.find_first_not_of("0123456789abcdef") == std::string::npos;
        TSFUZZ_CHECK(word.size() == 2 * Digest::kSize ? !hexadecimal || hex(read) == word : read == before);
    }
    return 0;
}
