// Fuzz target: the Skein-256 engine fed a message split at arbitrary points, and the digest's
// stream input and output on arbitrary text.
//
// Input: a count of split points and their piece sizes, stream flags for reading digests, a
// message (two length bytes, then the message), then the text digests are read from (the rest).
//
// Invariants (each follows from the documented design):
// - the engine gives the published check values (tested once at start-up, so that the other
//   invariants cannot hold for a degenerate engine);
// - feeding a message in pieces of any sizes (zero-length feeds with a null pointer included)
//   gives the digest of feeding it in one call; taking a digest in between changes nothing; a copy
//   of the engine taken between two pieces continues to the same digest; digest() twice is equal;
// - a message and the same message with one more byte, or with its last byte changed, have
//   different digests (a collision would be a hash break, not chance, at 256 bits);
// - a digest is written as 64 lower-case hexadecimal digits and reads back as the same bytes;
// - reading a digest reads one whitespace-delimited word exactly as reading a std::string does
//   (same stream state, flags and position afterwards); a word of exactly 64 characters makes the
//   bytes from character pairs, each character c counting c - '0' below ':' and c - 'W' otherwise,
//   modulo 16; a word of any other length leaves the digest unchanged.

#include "tsfuzzsupport.h"

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace TsFuzz;
using Tessel::Base::SkeinHash::operator<<;
using Tessel::Base::SkeinHash::operator>>;

std::string hexOf(const Digest& digest) {
    std::ostringstream text;
    text << digest;
    return text.str();
}

Digest digestOf(const std::string& message) {
    return digestOfBytes(message.data(), message.size());
}

void checkKnownAnswers() {
    TSFUZZ_CHECK(hexOf(digestOf("")) == "bc2763f707e262b80e0313791543a7ab0a4b6cd083270afb2fce4272e1bb0aa9");
    TSFUZZ_CHECK(hexOf(digestOf("\xff")) == "a47be71a185ba0af820b3ce845a3d35a80ec64f96a0d6a36e3f5363624d8a091");
    TSFUZZ_CHECK(hexOf(digestOf("abc")) == "bc92c7943ebfa32889b279161fede6b364f9c504434a84fa1d12f52127ef5487");
}

/// The documented decoding of one 64-character word.
Digest decodeWord(const std::string& word) {
    Digest digest;
    const auto nibble = [](char c) {
        const int value = c < ':' ? c - '0' : c - 'W';
        return static_cast<std::uint8_t>(static_cast<unsigned>(value) & 0xFu);
    };
    for (std::size_t i = 0; i < Digest::kSize; ++i) {
        digest.bytes[i] = static_cast<std::uint8_t>(nibble(word[2 * i]) << 4 | nibble(word[2 * i + 1]));
    }
    return digest;
}

void checkSplitFeeds(const std::string& message, const std::vector<std::size_t>& pieces) {
    const Digest oneShot = digestOf(message);
    Engine engine;
    Engine copy;
    std::size_t copyOffset = 0;
    bool copied = false;
    std::size_t offset = 0;
    for (const std::size_t piece : pieces) {
        const std::size_t length = piece < message.size() - offset ? piece : message.size() - offset;
        engine.update(length == 0 ? nullptr : message.data() + offset, length);
        offset += length;
        // A digest in between finalises a copy of the state only.
        const Digest between = engine.digest();
        TSFUZZ_CHECK(between == engine.digest(), "digest() twice must agree");
        TSFUZZ_CHECK(between == digestOf(message.substr(0, offset)), "prefix digest differs from one shot");
        if (!copied && offset * 2 >= message.size()) {
            copy = engine;
            copyOffset = offset;
            copied = true;
        }
    }
    engine.update(message.data() + offset, message.size() - offset);
    TSFUZZ_CHECK(engine.digest() == oneShot, "split feed of " + std::to_string(message.size()) +
                                                 " bytes differs from the one-shot digest");
    if (copied) {
        // The copy continues with whatever the original received after it was taken.
        copy.update(message.data() + copyOffset, message.size() - copyOffset);
        TSFUZZ_CHECK(copy.digest() == oneShot, "a copied engine must continue independently");
    }

    Engine longer;
    longer.update(message.data(), message.size()).update("\x00", 1);
    TSFUZZ_CHECK(longer.digest() != oneShot, "one more byte must change the digest");
    if (!message.empty()) {
        std::string changed = message;
        changed.back() = static_cast<char>(changed.back() ^ 0x5A);
        TSFUZZ_CHECK(digestOf(changed) != oneShot, "a changed last byte must change the digest");
    }

    const std::string hex = hexOf(oneShot);
    TSFUZZ_CHECK(hex.size() == 64 && hex.find_first_not_of("0123456789abcdef") == std::string::npos);
    std::istringstream back(hex);
    Digest reread;
    back >> reread;
    TSFUZZ_CHECK(reread == oneShot, "a written digest must read back");
}

void checkDigestInput(const std::string& text, std::uint8_t flags, const Digest& start) {
    static const std::streamsize widths[4] = {0, 32, 64, 65};
    std::istringstream stream(text);
    std::istringstream plain(text);
    if ((flags & 1) != 0) {
        stream.unsetf(std::ios_base::skipws);
        plain.unsetf(std::ios_base::skipws);
    }
    Digest digest = start;
    Digest expected = start;
    for (int round = 0; round < 4; ++round) {
        const std::streamsize width = widths[(flags >> (2 * round + 1)) & 3];
        stream.width(width);
        plain.width(width);
        stream >> digest;
        std::string word;
        plain >> word;
        if (word.size() == 2 * Digest::kSize) {
            expected = decodeWord(word);
        }
        TSFUZZ_CHECK(digest == expected, "reading " + escaped(word) + " gave " + hexOf(digest));
        TSFUZZ_CHECK(stream.rdstate() == plain.rdstate() && stream.flags() == plain.flags() &&
                         stream.width() == plain.width(),
                     "digest input must leave the stream as reading a word does");
        TSFUZZ_CHECK(stream.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in) ==
                     plain.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in));
        if (word.size() == 2 * Digest::kSize &&
            word.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos) {
            std::string lower = word;
            for (char& c : lower) {
                c = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
            }
            TSFUZZ_CHECK(hexOf(digest) == lower, "hexadecimal of either case must read as written");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    checkKnownAnswers();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    std::vector<std::size_t> pieces(in.below(16));
    for (std::size_t& piece : pieces) {
        piece = in.byte();
    }
    const std::uint8_t flags = in.byte();
    const std::size_t length = in.below(65536);
    std::string message;
    while (message.size() < length && !in.exhausted()) {
        message += static_cast<char>(in.byte());
    }
    checkSplitFeeds(message, pieces);
    checkDigestInput(in.rest(), flags, digestOf(message));
    return 0;
}
