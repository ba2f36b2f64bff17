#include <foundation/tsskeinhash.h>

#include <istream>
#include <ostream>
#include <string>

namespace Tessel::Base::SkeinHash {

namespace {

constexpr std::uint64_t kFinalBlockFlag = std::uint64_t{1} << 63;
constexpr std::uint64_t kTypeOutput = std::uint64_t{63} << 56;
constexpr std::uint64_t kFirstBlockFlag = std::uint64_t{1} << 62;

// --- Threefish-256 and UBI chaining -----------------------------------------------------------

constexpr std::uint64_t kKeyParity = 0x5555555555555555ULL;

template <unsigned Bits>
inline std::uint64_t rotateLeft(std::uint64_t x) noexcept {
    static_assert(Bits > 0 && Bits < 64, "rotation by a word width is not a rotation");
    return (x << Bits) | (x >> (64 - Bits));
}

inline std::uint64_t loadWord(const std::uint8_t* bytes) noexcept {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    word = __builtin_bswap64(word);
#endif
    return word;
}

// The round and injection steps are macros over named scalars so that both compilers keep the
// four state words, the five key words and the three tweak words in registers: no array is
// indexed, every rotation count is a compile-time constant.
//
// MIX(a, b, r): a += b; b = rotl(b, r) ^ a. Even rounds mix (x0,x1),(x2,x3); odd rounds (x0,x3),
// (x2,x1), which is the word permutation {0,3,2,1} applied without moving words.
#define TS_SKEIN_MIX(a, b, r)                                                                      \
    a += b;                                                                                        \
    b = rotateLeft<r>(b) ^ a;
#define TS_SKEIN_ROUND_EVEN(r0, r1)                                                                \
    TS_SKEIN_MIX(x0, x1, r0)                                                                       \
    TS_SKEIN_MIX(x2, x3, r1)
#define TS_SKEIN_ROUND_ODD(r0, r1)                                                                 \
    TS_SKEIN_MIX(x0, x3, r0)                                                                       \
    TS_SKEIN_MIX(x2, x1, r1)
// Clang reassociates the subkey additions into the following rounds, rebuilding many partial
// sums, running out of registers and spilling (about three times slower than the plain rounds),
// and splits a subkey word plus tweak word into two additions on the state word's critical path.
// An empty asm statement that claims to modify its operands makes each value opaque at that
// point, so every addition stays as written; it emits no instruction.
#if defined(__GNUC__) || defined(__clang__)
#define TS_SKEIN_OPAQUE(a, b, c, d) __asm__("" : "+r"(a), "+r"(b), "+r"(c), "+r"(d));
#else
#define TS_SKEIN_OPAQUE(a, b, c, d)
#endif
// Subkey s, given the key words k[(s+i) mod 5] as ka..kd and the tweak words t[s mod 3] and
// t[(s+1) mod 3] as ta, tb: each state word gets one addition.
#define TS_SKEIN_INJECT(ka, kb, kc, kd, ta, tb, s)                                                 \
    {                                                                                              \
        std::uint64_t subkey0 = ka;                                                                \
        std::uint64_t subkey1 = kb + ta;                                                           \
        std::uint64_t subkey2 = kc + tb;                                                           \
        std::uint64_t subkey3 = kd + static_cast<std::uint64_t>(s);                                \
        TS_SKEIN_OPAQUE(subkey0, subkey1, subkey2, subkey3)                                        \
        x0 += subkey0;                                                                             \
        x1 += subkey1;                                                                             \
        x2 += subkey2;                                                                             \
        x3 += subkey3;                                                                             \
        TS_SKEIN_OPAQUE(x0, x1, x2, x3)                                                            \
    }
// Eight rounds with the version 1.1 rotation constants, each four followed by a subkey (s, then
// s + 1). ka..ke are k[(s+i) mod 5], ta..tc are t[(s+i) mod 3].
#define TS_SKEIN_EIGHT_ROUNDS(s, ka, kb, kc, kd, ke, ta, tb, tc)                                   \
    TS_SKEIN_ROUND_EVEN(5, 56)                                                                     \
    TS_SKEIN_ROUND_ODD(36, 28)                                                                     \
    TS_SKEIN_ROUND_EVEN(13, 46)                                                                    \
    TS_SKEIN_ROUND_ODD(58, 44)                                                                     \
    TS_SKEIN_INJECT(ka, kb, kc, kd, ta, tb, s)                                                     \
    TS_SKEIN_ROUND_EVEN(26, 20)                                                                    \
    TS_SKEIN_ROUND_ODD(53, 35)                                                                     \
    TS_SKEIN_ROUND_EVEN(11, 42)                                                                    \
    TS_SKEIN_ROUND_ODD(59, 50)                                                                     \
    TS_SKEIN_INJECT(kb, kc, kd, ke, tb, tc, (s) + 1)

// Processes `count` consecutive 32-byte blocks at `blocks` (any alignment), each counted as
// `byteCount` message bytes: Threefish-256 keyed with the chaining value and the tweak, the
// result xor-ed with the block as the new chaining value, then the first-block flag cleared.
[[gnu::noinline]] void processBlocks(std::uint64_t chain[4], std::uint64_t tweak[2],
                                     const std::uint8_t* blocks, std::size_t count,
                                     std::size_t byteCount) noexcept {
    // Locals rather than the caller's arrays: the input may alias anything (it is bytes), so
    // stores through the pointers would force reloads inside the rounds.
    std::uint64_t c0 = chain[0], c1 = chain[1], c2 = chain[2], c3 = chain[3];
    std::uint64_t t0 = tweak[0];
    std::uint64_t t1 = tweak[1];
    for (; count != 0; --count, blocks += Engine::kBlockBytes) {
        t0 += byteCount;
        const std::uint64_t t2 = t0 ^ t1;
        const std::uint64_t c4 = kKeyParity ^ c0 ^ c1 ^ c2 ^ c3;

        std::uint64_t x0 = loadWord(blocks) + c0;
        std::uint64_t x1 = loadWord(blocks + 8) + c1 + t0;
        std::uint64_t x2 = loadWord(blocks + 16) + c2 + t1;
        std::uint64_t x3 = loadWord(blocks + 24) + c3;
        TS_SKEIN_OPAQUE(x0, x1, x2, x3)

        // 72 rounds, subkeys 1 to 18; the key words rotate by one per subkey (mod 5), the tweak
        // words by one per subkey (mod 3).
        TS_SKEIN_EIGHT_ROUNDS(1, c1, c2, c3, c4, c0, t1, t2, t0)
        TS_SKEIN_EIGHT_ROUNDS(3, c3, c4, c0, c1, c2, t0, t1, t2)
        TS_SKEIN_EIGHT_ROUNDS(5, c0, c1, c2, c3, c4, t2, t0, t1)
        TS_SKEIN_EIGHT_ROUNDS(7, c2, c3, c4, c0, c1, t1, t2, t0)
        TS_SKEIN_EIGHT_ROUNDS(9, c4, c0, c1, c2, c3, t0, t1, t2)
        TS_SKEIN_EIGHT_ROUNDS(11, c1, c2, c3, c4, c0, t2, t0, t1)
        TS_SKEIN_EIGHT_ROUNDS(13, c3, c4, c0, c1, c2, t1, t2, t0)
        TS_SKEIN_EIGHT_ROUNDS(15, c0, c1, c2, c3, c4, t0, t1, t2)
        TS_SKEIN_EIGHT_ROUNDS(17, c2, c3, c4, c0, c1, t2, t0, t1)

        c0 = x0 ^ loadWord(blocks);
        c1 = x1 ^ loadWord(blocks + 8);
        c2 = x2 ^ loadWord(blocks + 16);
        c3 = x3 ^ loadWord(blocks + 24);
        t1 &= ~kFirstBlockFlag;
    }
    chain[0] = c0;
    chain[1] = c1;
    chain[2] = c2;
    chain[3] = c3;
    tweak[0] = t0;
    tweak[1] = t1;
}

#undef TS_SKEIN_EIGHT_ROUNDS
#undef TS_SKEIN_INJECT
#undef TS_SKEIN_OPAQUE
#undef TS_SKEIN_ROUND_ODD
#undef TS_SKEIN_ROUND_EVEN
#undef TS_SKEIN_MIX

} // namespace

Engine& Engine::updateBeyondBuffer(const void* data, std::size_t length) noexcept {
    const auto* input = static_cast<const std::uint8_t*>(data);
    if (length > kBlockBytes - bufferedCount) {
        if (bufferedCount > 0) {
            const std::size_t fill = kBlockBytes - bufferedCount;
            std::memcpy(buffer + bufferedCount, input, fill);
            input += fill;
            length -= fill;
            processBlocks(chain, tweak, buffer, 1, kBlockBytes);
            bufferedCount = 0;
        }
        if (length > kBlockBytes) {
            // Keep the last 1 to 32 bytes back: they may be the final block.
            const std::size_t blocks = (length - 1) / kBlockBytes;
            processBlocks(chain, tweak, input, blocks, kBlockBytes);
            input += blocks * kBlockBytes;
            length -= blocks * kBlockBytes;
        }
    }
    if (length != 0) {
        std::memcpy(buffer + bufferedCount, input, length);
        bufferedCount += length;
    }
    return *this;
}

Digest Engine::digest() const noexcept {
    std::uint64_t finalChain[4] = {chain[0], chain[1], chain[2], chain[3]};
    std::uint64_t finalTweak[2] = {tweak[0], tweak[1] | kFinalBlockFlag};
    std::uint8_t block[kBlockBytes] = {};
    std::memcpy(block, buffer, bufferedCount);
    processBlocks(finalChain, finalTweak, block, 1, bufferedCount);

    // Output stage: one block holding the counter 0, typed as output, first and final.
    std::uint64_t outputTweak[2] = {0, kTypeOutput | kFirstBlockFlag | kFinalBlockFlag};
    std::uint8_t counterBlock[kBlockBytes] = {};
    processBlocks(finalChain, outputTweak, counterBlock, 1, 8);

    Digest result;
    const std::size_t outputBytes = outputBits / 8 < Digest::kSize ? outputBits / 8 : Digest::kSize;
    for (std::size_t i = 0; i < outputBytes; ++i)
        result.bytes[i] = static_cast<std::uint8_t>(finalChain[i / 8] >> (8 * (i % 8)));
    return result;
}

std::ostream& operator<<(std::ostream& stream, const Digest& digest) {
    static constexpr char kDigits[] = "0123456789abcdef";
    char text[2 * Digest::kSize];
    for (std::size_t i = 0; i < Digest::kSize; ++i) {
        text[2 * i] = kDigits[digest.bytes[i] >> 4];
        text[2 * i + 1] = kDigits[digest.bytes[i] & 0xF];
    }
    return stream.write(text, sizeof text);
}

namespace {

// The value of one digit character: c - '0' below ':' and c - 'W' otherwise, modulo 16. Works on
// int, so every char (negative ones included) gives a defined result; no character is rejected.
std::uint8_t nibbleOf(char c) {
    const int value = c < ':' ? c - '0' : c - 'W';
    return static_cast<std::uint8_t>(static_cast<unsigned>(value) & 0xFu);
}

} // namespace

std::istream& operator>>(std::istream& stream, Digest& digest) {
    std::string word;
    stream >> word;
    if (word.size() == 2 * Digest::kSize) {
        for (std::size_t i = 0; i < Digest::kSize; ++i)
            digest.bytes[i] =
                static_cast<std::uint8_t>(nibbleOf(word[2 * i]) << 4 | nibbleOf(word[2 * i + 1]));
    }
    return stream;
}

} // namespace Tessel::Base::SkeinHash
