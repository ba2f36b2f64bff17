#ifndef TESSEL_FOUNDATION_TSSKEINHASH_H
#define TESSEL_FOUNDATION_TSSKEINHASH_H

/// @file
/// Skein-256 with a 256-bit digest: an engine fed bytes piece by piece, the digest it yields, and
/// the digest's text form of 64 hexadecimal digits.
///
///     Tessel::Base::SkeinHash::Engine engine;
///     engine.update("ab", 2).update("c", 1);           // the same as one feed of "abc"
///     Tessel::Base::SkeinHash::Digest digest = engine.digest();
///     std::cout << digest;  // bc92c7943ebfa32889b279161fede6b364f9c504434a84fa1d12f52127ef5487
///     bool same = digest == Tessel::Base::SkeinHash::Engine().update("abc", 3).digest(); // true

#include <foundation/tsexport.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>

/// Incremental Skein-256 hashing with a 256-bit result (Skein version 1.1 constants), used to
/// compute content signatures of values.
namespace Tessel::Base::SkeinHash {

/// The 32-byte result of a hash computation. A default-constructed digest is all zero bytes.
struct Digest {
    /// Number of bytes in a digest.
    static constexpr std::size_t kSize = 32;

    /// The digest bytes in output order (the first byte is written first by operator<<).
    std::array<std::uint8_t, kSize> bytes{};
};

/// Byte-wise equality of two digests.
inline bool operator==(const Digest& left, const Digest& right) noexcept {
    return left.bytes == right.bytes;
}

/// Byte-wise inequality of two digests.
inline bool operator!=(const Digest& left, const Digest& right) noexcept {
    return !(left == right);
}

/// Writes `digest` as 64 lower-case hexadecimal digits, two per byte, high nibble first.
TS_API std::ostream& operator<<(std::ostream& stream, const Digest& digest);

/// Reads one whitespace-delimited word. Only a word of exactly 64 characters changes `digest`:
/// character pair (2i, 2i+1) makes byte i, a character c counting as c - '0' when below ':' and
/// as c - 'W' otherwise, each taken modulo 16, so either letter case reads as hexadecimal and
/// no character is rejected. A word of any other length leaves `digest` unchanged and the
/// stream with only the state that reading the word set.
TS_API std::istream& operator>>(std::istream& stream, Digest& digest);

/// The state of one Skein-256 computation with a 256-bit output: a plain value that is fed bytes
/// and yields their digest. Copies continue independently. Never allocates; not thread-safe
/// while it is fed (different engines are independent).
class TS_API Engine {
public:
    /// Bytes per Threefish-256 block.
    static constexpr std::size_t kBlockBytes = 32;

    /// The Skein-256-256 initial state: the configuration block (256 output bits, no key, no
    /// tree hashing) already processed, ready for the first message block.
    Engine() noexcept = default;

    /// Appends `length` bytes starting at `data` to the message and returns this engine.
    /// A feed of 0 bytes changes nothing (`data` may then be null). The last block of the
    /// message stays buffered until digest() so that it can carry the final-block flag.
    Engine& update(const void* data, std::size_t length) noexcept {
        // Fast path for the small feeds signatures are made of: they fit into the buffer.
        // Testing the count first also shows the compiler that the buffer offset is in range;
        // a full buffer goes out of line, which handles every length, 0 included.
        if (bufferedCount < kBlockBytes && length <= kBlockBytes - bufferedCount) {
            if (length != 0) {
                std::memcpy(buffer + bufferedCount, data, length);
                bufferedCount += length;
            }
            return *this;
        }
        return updateBeyondBuffer(data, length);
    }

    /// The Skein-256 digest of all bytes fed so far. Finalises a copy of the state, so the
    /// engine is unchanged and further feeds continue the same message.
    [[nodiscard]] Digest digest() const noexcept;

private:
    // update() for a feed that does not fit into the buffer: fills and processes the buffer,
    // processes whole blocks straight from `data` and buffers the last 1 to 32 bytes.
    Engine& updateBeyondBuffer(const void* data, std::size_t length) noexcept;

    static constexpr std::uint64_t kFirstBlockFlag = std::uint64_t{1} << 62;
    static constexpr std::uint64_t kTypeMessage = std::uint64_t{48} << 56;

    // The state, in this order.
    std::uint64_t outputBits = 256;
    std::uint64_t bufferedCount = 0; // 0 to 32
    std::uint64_t tweak[2] = {0, kTypeMessage | kFirstBlockFlag}; // byte position, flags/type
    std::uint64_t chain[4] = {0x388512680E660046ULL, 0x4B72D5DEC5A8FF01ULL,
                              0x281A9298CA5EB3A5ULL, 0x54CA5249F46070C4ULL};
    std::uint8_t buffer[kBlockBytes] = {};
};

} // namespace Tessel::Base::SkeinHash

#endif
