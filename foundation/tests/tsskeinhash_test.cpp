// Skein-256 (version 1.1): the published check values however the message is fed, and the
// digest's text form.

#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

namespace {

using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;

std::string hexOf(const Digest& digest) {
    std::ostringstream text;
    text << digest;
    return text.str();
}

TEST(SkeinHash, CheckValuesHoldHoweverTheMessageIsFed) {
    // Message of n bytes, byte i = (i * 7 + n) mod 256; digest as written to a stream.
    const std::pair<std::size_t, const char*> rows[] = {
        {0, "bc2763f707e262b80e0313791543a7ab0a4b6cd083270afb2fce4272e1bb0aa9"},
        {1, "f72a6071e41a78b361fb39b90479535ed65c72b11bbfad0b1c4bbc2375a82c02"},
        {31, "35321c17241c4d3329926985d86fb1cf1316e1fe1cfc38b01a32d30fdcba2eca"},
        {32, "d6cb446fca2ae5df2cede937f06e95a6fcbd72927b53916e4c27db4bf4d486a8"},
        {33, "1c96a59b479d3d7d0a9a637daf624540fd0b86b9cea5ad7123e2e3d63383e6c9"},
        {64, "1c9c4ff8a16a60a77948d0c8560f056e04c36ff9fda0a28d219bc52210f0a5b0"},
        {65, "9839b6bf5c7c1ba184621be94085522dabbac0764d7ca4bbd2bb73c10b2331d7"},
        {1000, "d623a2c88fc13fd268978faabe7efa4fb82446f55eb69baa5e9bc9efcea3a03a"},
    };
    for (const auto& [n, digest] : rows) {
        std::string m(n, '\0');
        for (std::size_t i = 0; i < n; ++i) {
            m[i] = static_cast<char>((i * 7 + n) % 256);
        }
        EXPECT_EQ(hexOf(Engine().update(m.data(), n).digest()), digest) << n << " bytes in one feed";
        for (std::size_t cut = 0; cut <= n; ++cut) {
            Engine split;
            static_cast<void>(split.update(m.data(), cut).digest()); // a digest changes nothing
            EXPECT_EQ(hexOf(split.update(nullptr, 0).update(m.data() + cut, n - cut).digest()), digest)
                << n << " bytes split at " << cut;
        }
    }
}

TEST(SkeinHash, DigestTextReadsBackOnlyFromSixtyFourCharacters) {
    const Digest abc = Engine().update("abc", 3).digest();
    const Digest before = Engine().digest();
    struct Row { std::string word; Digest expected; const char* reason; };
    const Row rows[] = {
        {hexOf(abc), abc, "lower case reads back"},
        {"BC92C7943EBFA32889B279161FEDE6B364F9C504434A84FA1D12F52127EF5487", abc, "upper case reads the same"},
        {hexOf(abc).substr(1), before, "a word of another length leaves the digest as it was"},
    };
    for (const Row& row : rows) {
        Digest digest = before;
        std::string next;
        std::istringstream(" " + row.word + " next") >> digest >> next;
        EXPECT_EQ(hexOf(digest) + next, hexOf(row.expected) + "next") << row.reason;
    }
}

} // namespace
