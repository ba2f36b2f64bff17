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
        const Digest whole = Engine().update(m.data(), n).digest();
        EXPECT_EQ(hexOf(whole), digest) << n << " bytes in one feed";
        Digest read;
        std::istringstream(std::string(digest) + " " + std::string(digest + 1)) >> read >> read;
        EXPECT_EQ(read, whole) << "the text reads back; a word of 63 characters changes nothing";
        for (std::size_t cut = 0; cut <= n; ++cut) {
            Engine split;
            static_cast<void>(split.update(m.data(), cut).digest()); // a digest changes nothing
            EXPECT_EQ(hexOf(split.update(nullptr, 0).update(m.data() + cut, n - cut).digest()), digest)
                << n << " bytes split at " << cut;
        }
    }
}

TEST(SkeinHash, DigestTextReadsEitherCase) {
    Digest upper;
    std::istringstream("BC2763F707E262B80E0313791543A7AB0A4B6CD083270AFB2FCE4272E1BB0AA9") >> upper;
    EXPECT_EQ(upper, Engine().digest());
}

} // namespace
