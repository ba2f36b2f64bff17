#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;

std::string hexOf(const Digest& digest) {
    std::ostringstream out;
    out << digest;
    return out.str();
}

// The check-value message of length n: byte i is (i * 7 + n) mod 256.
std::vector<std::uint8_t> patternMessage(std::size_t n) {
    std::vector<std::uint8_t> message(n);
    for (std::size_t i = 0; i < n; ++i)
        message[i] = static_cast<std::uint8_t>(i * 7 + n);
    return message;
}

Digest digestInOneFeed(const std::vector<std::uint8_t>& message) {
    return Engine().update(message.data(), message.size()).digest();
}

// Feeds `message` in pieces ending at the given cut positions (ascending, within the message).
Digest digestInPieces(const std::vector<std::uint8_t>& message, const std::vector<std::size_t>& cuts) {
    Engine engine;
    std::size_t begin = 0;
    for (std::size_t cut : cuts) {
        engine.update(message.data() + begin, cut - begin);
        begin = cut;
    }
    engine.update(message.data() + begin, message.size() - begin);
    return engine.digest();
}

Digest digestFromHex(const std::string& hex) {
    Digest digest;
    std::istringstream in(hex);
    in >> digest;
    return digest;
}

// --- check values ---------------------------------------------------------------------------

TEST(SkeinHashCheckValues, EmptyMessage) {
    EXPECT_EQ(hexOf(Engine().digest()),
              "bc2763f707e262b80e0313791543a7ab0a4b6cd083270afb2fce4272e1bb0aa9");
}

TEST(SkeinHashCheckValues, SingleByteFF) {
    const std::uint8_t byte = 0xFF;
    EXPECT_EQ(hexOf(Engine().update(&byte, 1).digest()),
              "a47be71a185ba0af820b3ce845a3d35a80ec64f96a0d6a36e3f5363624d8a091");
}

TEST(SkeinHashCheckValues, Abc) {
    EXPECT_EQ(hexOf(Engine().update("abc", 3).digest()),
              "bc92c7943ebfa32889b279161fede6b364f9c504434a84fa1d12f52127ef5487");
}

TEST(SkeinHashCheckValues, PatternMessagesAroundBlockBoundaries) {
    struct CheckValue {
        std::size_t length;
        const char* digest;
    };
    const CheckValue table[] = {
        {0, "bc2763f707e262b80e0313791543a7ab0a4b6cd083270afb2fce4272e1bb0aa9"},
        {1, "f72a6071e41a78b361fb39b90479535ed65c72b11bbfad0b1c4bbc2375a82c02"},
        {2, "13a69ccf6986e319eb72620fbe136531d203f3bcaa97789a22b714efb8f2c707"},
        {3, "2992c4649ba9d54a44124615c0cba6b4b7112f98e1851e7aaf83c7a3dec7a358"},
        {31, "35321c17241c4d3329926985d86fb1cf1316e1fe1cfc38b01a32d30fdcba2eca"},
        {32, "d6cb446fca2ae5df2cede937f06e95a6fcbd72927b53916e4c27db4bf4d486a8"},
        {33, "1c96a59b479d3d7d0a9a637daf624540fd0b86b9cea5ad7123e2e3d63383e6c9"},
        {63, "11a349b871fe3ffc9b62678c502018b39711297d9b2ea23876ca134dc67ff581"},
        {64, "1c9c4ff8a16a60a77948d0c8560f056e04c36ff9fda0a28d219bc52210f0a5b0"},
        {65, "9839b6bf5c7c1ba184621be94085522dabbac0764d7ca4bbd2bb73c10b2331d7"},
        {96, "fed2f19053e7325c902bc43ccc8bddf08b4a62dbe009b047321461fe88e09f27"},
        {100, "7e9a12c56c9569063f7c5e9e2c183f164d7b45c8f25fa328620d1f50a48772e4"},
        {255, "f54635234f5a4501984c889c05b4e73a19d922307bee9997ebdb244933b4b8e4"},
        {1000, "d623a2c88fc13fd268978faabe7efa4fb82446f55eb69baa5e9bc9efcea3a03a"},
    };
    for (const CheckValue& check : table) {
        const std::vector<std::uint8_t> message = patternMessage(check.length);
        EXPECT_EQ(hexOf(digestInOneFeed(message)), check.digest) << "length " << check.length;

        // The same message one byte at a time takes only the buffered path.
        Engine engine;
        for (std::uint8_t byte : message)
            engine.update(&byte, 1);
        EXPECT_EQ(hexOf(engine.digest()), check.digest) << "bytewise, length " << check.length;
    }
}

TEST(SkeinHashCheckValues, InputNeedsNoAlignment) {
    // Whole blocks are read straight from the caller's memory at any address.
    const std::vector<std::uint8_t> message = patternMessage(1000);
    const std::string expected = hexOf(digestInOneFeed(message));
    for (std::size_t offset = 1; offset < 8; ++offset) {
        std::vector<std::uint8_t> shifted(offset, 0xAA);
        shifted.insert(shifted.end(), message.begin(), message.end());
        EXPECT_EQ(hexOf(Engine().update(shifted.data() + offset, message.size()).digest()), expected)
            << "offset " << offset;
    }
}

// --- feeding in pieces ------------------------------------------------------------------------

TEST(SkeinHashFeeding, EveryTwoWaySplitGivesTheSameDigest) {
    for (std::size_t length : {31u, 32u, 33u, 63u, 64u, 65u, 96u, 97u, 130u}) {
        const std::vector<std::uint8_t> message = patternMessage(length);
        const Digest whole = digestInOneFeed(message);
        for (std::size_t cut = 0; cut <= length; ++cut)
            EXPECT_EQ(digestInPieces(message, {cut}), whole) << "length " << length << " cut " << cut;
    }
}

TEST(SkeinHashFeeding, ThreeWaySplitsAroundBlockBoundaries) {
    const std::vector<std::uint8_t> message = patternMessage(200);
    const Digest whole = digestInOneFeed(message);
    const std::size_t nearBoundaries[] = {0, 1, 31, 32, 33, 63, 64, 65, 95, 96, 97, 127, 128, 129, 160, 199, 200};
    for (std::size_t first : nearBoundaries) {
        for (std::size_t second : nearBoundaries) {
            if (first <= second) {
                EXPECT_EQ(digestInPieces(message, {first, second}), whole)
                    << "cuts " << first << ", " << second;
            }
        }
    }
}

TEST(SkeinHashFeeding, RandomSplitsGiveTheSameDigest) {
    std::mt19937 random(20240611u);
    for (int trial = 0; trial < 400; ++trial) {
        const std::size_t length = std::uniform_int_distribution<std::size_t>(0, 400)(random);
        std::vector<std::uint8_t> message(length);
        for (std::uint8_t& byte : message)
            byte = static_cast<std::uint8_t>(random());
        std::vector<std::size_t> cuts;
        std::size_t position = 0;
        while (true) {
            position += std::uniform_int_distribution<std::size_t>(0, 70)(random);
            if (position >= length)
                break;
            cuts.push_back(position);
        }
        EXPECT_EQ(digestInPieces(message, cuts), digestInOneFeed(message)) << "trial " << trial;
    }
}

TEST(SkeinHashFeeding, ZeroByteFeedsChangeNothing) {
    const Digest empty = Engine().digest();
    EXPECT_EQ(Engine().update(nullptr, 0).digest(), empty);
    EXPECT_EQ(Engine().update("x", 0).update(nullptr, 0).digest(), empty);

    // Between feeds and with a full buffer, where a real feed would process the buffer.
    const std::vector<std::uint8_t> message = patternMessage(32);
    Engine engine;
    engine.update(message.data(), 16).update(nullptr, 0).update(message.data() + 16, 16);
    engine.update(nullptr, 0).update(message.data(), 0);
    EXPECT_EQ(engine.digest(), digestInOneFeed(message));
}

TEST(SkeinHashFeeding, UpdateChainsOnTheSameEngine) {
    Engine engine;
    EXPECT_EQ(&engine.update("a", 1), &engine);
    EXPECT_EQ(&engine.update(patternMessage(100).data(), 100), &engine);
}

// --- digest and engine copies -----------------------------------------------------------------

TEST(SkeinHashEngine, DigestLeavesTheEngineUnchanged) {
    const std::vector<std::uint8_t> message = patternMessage(100);
    Engine engine;
    engine.update(message.data(), 40);
    const Digest first = engine.digest();
    EXPECT_EQ(engine.digest(), first);
    EXPECT_EQ(first, digestInOneFeed(std::vector<std::uint8_t>(message.begin(), message.begin() + 40)));

    // Feeding after a digest continues the same message.
    engine.update(message.data() + 40, 60);
    EXPECT_EQ(engine.digest(), digestInOneFeed(message));
}

TEST(SkeinHashEngine, CopiesContinueIndependently) {
    const std::vector<std::uint8_t> message = patternMessage(255);
    Engine original;
    original.update(message.data(), 70);

    Engine copy(original);
    Engine assigned;
    assigned.update("unrelated", 9);
    assigned = original;

    copy.update(message.data() + 70, 185);
    EXPECT_EQ(copy.digest(), digestInOneFeed(message));

    assigned.update("abc", 3);
    std::vector<std::uint8_t> other(message.begin(), message.begin() + 70);
    other.insert(other.end(), {'a', 'b', 'c'});
    EXPECT_EQ(assigned.digest(), digestInOneFeed(other));

    // The original saw neither continuation.
    EXPECT_EQ(original.digest(),
              digestInOneFeed(std::vector<std::uint8_t>(message.begin(), message.begin() + 70)));
}

TEST(SkeinHashEngine, IsAPlainValueOfExactlyTheHashState) {
    // Output bits, buffered count, two tweak words, four chaining words, 32 buffer bytes.
    EXPECT_EQ(sizeof(Engine), 8u + 8u + 2u * 8u + 4u * 8u + 32u);
    EXPECT_TRUE(std::is_trivially_copyable_v<Engine>);
    EXPECT_TRUE(std::is_nothrow_default_constructible_v<Engine>);
}

// --- digest values and streams ----------------------------------------------------------------

TEST(SkeinHashDigest, DefaultIsAllZeroAndComparesByteWise) {
    Digest zero;
    for (std::uint8_t byte : zero.bytes)
        EXPECT_EQ(byte, 0);
    EXPECT_EQ(hexOf(zero), std::string(64, '0'));

    Digest other;
    EXPECT_TRUE(zero == other);
    EXPECT_FALSE(zero != other);
    other.bytes[31] = 1;
    EXPECT_FALSE(zero == other);
    EXPECT_TRUE(zero != other);
}

TEST(SkeinHashDigest, WritesLowerCaseHighNibbleFirst) {
    Digest digest;
    for (std::size_t i = 0; i < Digest::kSize; ++i)
        digest.bytes[i] = static_cast<std::uint8_t>(i * 0x11 + 0x0A);
    EXPECT_EQ(hexOf(digest), "0a1b2c3d4e5f708192a3b4c5d6e7f8091a2b3c4d5e6f8091a2b3c4d5e6f70819");
}

TEST(SkeinHashDigest, StreamRoundTrip) {
    const Digest original = Engine().update("abc", 3).digest();
    std::stringstream stream;
    stream << original << ' ' << Engine().digest();
    Digest first;
    Digest second;
    stream >> first >> second;
    EXPECT_EQ(first, original);
    EXPECT_EQ(second, Engine().digest());
    EXPECT_FALSE(stream.fail());
}

TEST(SkeinHashDigest, UpperCaseReadsTheSame) {
    const std::string lower = "bc92c7943ebfa32889b279161fede6b364f9c504434a84fa1d12f52127ef5487";
    std::string upper = lower;
    for (char& c : upper)
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 'a' + 'A');
    EXPECT_EQ(digestFromHex(upper), digestFromHex(lower));
    EXPECT_EQ(hexOf(digestFromHex(upper)), lower);
}

TEST(SkeinHashDigest, WordsOfOtherLengthsLeaveTheDigestUnchanged) {
    const Digest before = Engine().update("abc", 3).digest();
    const std::string hex = hexOf(Engine().digest());
    for (const std::string& word : {hex.substr(0, 63), hex + "0", std::string("0"), hex + hex}) {
        Digest digest = before;
        std::istringstream in(word + " next");
        in >> digest;
        EXPECT_EQ(digest, before) << "length " << word.size();
        // Reading the word succeeded, so the stream stays good and the next word follows.
        EXPECT_TRUE(in.good());
        std::string next;
        in >> next;
        EXPECT_EQ(next, "next");
    }
}

TEST(SkeinHashDigest, StreamStateAfterReading) {
    const std::string hex = hexOf(Engine().digest());

    std::istringstream followed("  " + hex + "\n");
    Digest digest;
    followed >> digest;
    EXPECT_EQ(digest, Engine().digest());
    EXPECT_TRUE(followed.good());

    // A word that ends the input sets end-of-file but no failure.
    std::istringstream atEnd(hex);
    Digest atEndDigest;
    atEnd >> atEndDigest;
    EXPECT_EQ(atEndDigest, Engine().digest());
    EXPECT_TRUE(atEnd.eof());
    EXPECT_FALSE(atEnd.fail());

    // No word at all: the failed read shows in the stream, the digest stays as it was.
    const Digest before = Engine().update("abc", 3).digest();
    for (const char* text : {"", "   \t\n"}) {
        std::istringstream empty(text);
        Digest unchanged = before;
        empty >> unchanged;
        EXPECT_EQ(unchanged, before);
        EXPECT_TRUE(empty.fail());
        EXPECT_TRUE(empty.eof());
    }
}

TEST(SkeinHashDigest, NonHexCharactersReadModulo16) {
    // Each character counts as c - '0' below ':' and as c - 'W' from ':' on, modulo 16.
    std::string word = "g!"        // 'g' - 'W' = 16 -> 0, '!' - '0' = -15 -> 1
                       "z:"        // 'z' - 'W' = 35 -> 3, ':' - 'W' = -29 -> 3
                       "@F"        // '@' - 'W' = -23 -> 9, 'F' - 'W' = -17 -> 15
                       "\xff\x80"; // negative chars: -1 - '0' = -49 -> 15, -128 - '0' = -176 -> 0
    word += "~";                    // '~' - 'W' = 39 -> 7
    word += '\0';                   // 0 - '0' = -48 -> 0
    word += std::string(64 - word.size(), '9');
    ASSERT_EQ(word.size(), 64u);

    Digest digest;
    std::istringstream in(word);
    in >> digest;
    EXPECT_EQ(digest.bytes[0], 0x01);
    EXPECT_EQ(digest.bytes[1], 0x33);
    EXPECT_EQ(digest.bytes[2], 0x9F);
    EXPECT_EQ(digest.bytes[3], 0xF0);
    EXPECT_EQ(digest.bytes[4], 0x70);
    for (std::size_t i = 5; i < Digest::kSize; ++i)
        EXPECT_EQ(digest.bytes[i], 0x99) << "byte " << i;

    // Every char value reads without trouble: a word of one repeated character gives 32 equal
    // bytes with equal nibbles; whitespace makes no word and leaves the digest as it was.
    for (int value = 0; value < 256; ++value) {
        const char c = static_cast<char>(value);
        std::istringstream repeated(std::string(64, c));
        Digest repeatedDigest;
        repeatedDigest.bytes[0] = 0xA5;
        repeated >> repeatedDigest;
        if (std::isspace(static_cast<unsigned char>(c))) {
            EXPECT_EQ(repeatedDigest.bytes[0], 0xA5) << "char " << value;
            continue;
        }
        const std::uint8_t first = repeatedDigest.bytes[0];
        EXPECT_EQ(first >> 4, first & 0xF) << "char " << value;
        for (std::uint8_t byte : repeatedDigest.bytes)
            EXPECT_EQ(byte, first) << "char " << value;
    }
    EXPECT_EQ(hexOf(digestFromHex(std::string(64, '7'))), std::string(64, '7'));
    EXPECT_EQ(hexOf(digestFromHex(std::string(64, 'E'))), std::string(64, 'e'));
}

} // namespace
