// The canonical signature: Skein-256 over a byte encoding of a value that depends only on its
// labels and content (docs/canonical-signature.md, version 1).

#include <dictionary/tscanonicalsignature.h>

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace Tessel::Dictionary {

namespace {

using Base::SkeinHash::Engine;

// One-byte codes of the built-in labels, in the order of the label constants. 0 is the empty
// value; a value of any other type is framed by its label text under kHostTag.
enum Tag : std::uint8_t {
    kEmptyTag = 0,
    kBoolTag, kCharTag, kInt8Tag, kUInt8Tag, kInt16Tag, kUInt16Tag, kInt32Tag, kUInt32Tag,
    kInt64Tag, kUInt64Tag, kFloatTag, kDoubleTag, kStringTag, kDictionaryTag, kVectorTag,
    kTimeBaseTag,
    kHostTag = 0xFF,
};

// The built-in type objects by tag, looked up once: they live for the rest of the process.
// Types are told apart by object, not label, so a stray type object that borrows a built-in
// label (never registered, only used through parse) is framed as a host type.
class BuiltinTags {
public:
    BuiltinTags() {
        const TypeAtom* labels[] = {&gTypeLabelBool,   &gTypeLabelChar,         &gTypeLabelInt8,
                                    &gTypeLabelUnsignedInt8, &gTypeLabelInt16,  &gTypeLabelUnsignedInt16,
                                    &gTypeLabelInt32,  &gTypeLabelUnsignedInt32, &gTypeLabelInt64,
                                    &gTypeLabelUnsignedInt64, &gTypeLabelFloat, &gTypeLabelDouble,
                                    &gTypeLabelString, &gTypeLabelDictionary,   &gTypeLabelVector,
                                    &gTypeLabelTimeBase};
        for (std::size_t i = 0; i < std::size(labels); ++i) {
            mTypes[i + 1] = AnyTypeRegistry::typeByLabel(*labels[i]);
        }
    }

    Tag tagOf(const AnyType* type) const noexcept {
        for (std::size_t tag = kBoolTag; tag <= kTimeBaseTag; ++tag) {
            if (mTypes[tag] == type) {
                return static_cast<Tag>(tag);
            }
        }
        return kHostTag;
    }

    static const BuiltinTags& get() {
        static const BuiltinTags tags;
        return tags;
    }

private:
    std::array<const AnyType*, kTimeBaseTag + 1> mTypes{};
};

// Collects small pieces and hands them to the engine in larger feeds.
class ByteSink {
public:
    explicit ByteSink(Engine& engine) noexcept : mEngine(engine) {}
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;
    ~ByteSink() { flush(); }

    void byte(std::uint8_t value) noexcept {
        room(1);
        mBuffer[mUsed++] = value;
    }
    // Unsigned LEB128: seven bits at a time, low group first, high bit set on all but the last.
    void count(std::uint64_t value) noexcept {
        room(10);
        while (value >= 0x80U) {
            mBuffer[mUsed++] = static_cast<std::uint8_t>(value | 0x80U);
            value >>= 7U;
        }
        mBuffer[mUsed++] = static_cast<std::uint8_t>(value);
    }
    // The low `width` bytes of `value`, least significant first.
    void littleEndian(std::uint64_t value, std::size_t width) noexcept {
        room(width);
        for (std::size_t i = 0; i < width; ++i) {
            mBuffer[mUsed++] = static_cast<std::uint8_t>(value >> (8U * i));
        }
    }
    // A byte string framed by its length.
    void text(const std::string& bytes) noexcept { text(bytes.data(), bytes.size()); }
    void text(const void* data, std::size_t size) noexcept {
        count(size);
        if (size <= sizeof mBuffer - mUsed) {
            std::memcpy(mBuffer + mUsed, data, size);
            mUsed += size;
        } else {
            flush();
            mEngine.update(data, size);
        }
    }
    void flush() noexcept {
        mEngine.update(mBuffer, mUsed);
        mUsed = 0;
    }

private:
    void room(std::size_t size) noexcept {
        if (sizeof mBuffer - mUsed < size) {
            flush();
        }
    }

    Engine& mEngine;
    std::size_t mUsed = 0;
    std::uint8_t mBuffer[512];
};

// The stored bytes of a value of host type T as an unsigned number (T is the exact host type).
template <class T>
std::uint64_t bitsOf(const Any& value) {
    static_assert(sizeof(T) <= 8, "a scalar of at most 8 bytes");
    using Bits = std::conditional_t<sizeof(T) == 1, std::uint8_t,
                 std::conditional_t<sizeof(T) == 2, std::uint16_t,
                 std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;
    Bits stored = 0;
    std::memcpy(&stored, &value.ref<T>(), sizeof stored);
    return stored;
}

// One dictionary entry waiting to be encoded: its key text and its value. `prefix` holds eight
// key bytes, big-endian and zero-padded, from where the keys of its dictionary start to differ,
// so that most comparisons of the sort are one integer comparison; equal prefixes fall back to
// the whole texts.
struct Entry {
    std::uint64_t prefix;
    const std::string* key;
    const Any* value;

    bool operator<(const Entry& other) const noexcept {
        return prefix != other.prefix ? prefix < other.prefix : *key < *other.key;
    }
};

// Sorts entries by the unsigned bytes of their keys, a prefix before its extensions.
void sortByKey(std::vector<Entry>::iterator first, std::vector<Entry>::iterator last) {
    const std::string& head = *first->key;
    std::size_t common = head.size();
    for (auto entry = first + 1; entry != last && common != 0; ++entry) {
        common = static_cast<std::size_t>(
            std::mismatch(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(common), entry->key->begin(),
                          entry->key->end()).first - head.begin());
    }
    for (auto entry = first; entry != last; ++entry) {
        const std::string& key = *entry->key;
        entry->prefix = 0;
        for (std::size_t i = common; i < common + 8; ++i) {
            entry->prefix = (entry->prefix << 8U) | (i < key.size() ? static_cast<std::uint8_t>(key[i]) : 0U);
        }
    }
    std::sort(first, last);
}

// A container being encoded: the elements of a vector, or the range [start, end) of the
// encoder's sorted entries.
struct Frame {
    const Any* elements;
    std::size_t start;
    std::size_t next;
    std::size_t end;
};

class Encoder {
public:
    explicit Encoder(Engine& engine) : mSink(engine), mTags(BuiltinTags::get()) {
        mSink.byte(kCanonicalSignatureVersion);
    }

    void encode(const Any& root) {
        value(root);
        drain();
    }

    void encode(const Dictionary& root) {
        dictionary(root);
        drain();
    }

private:
    // Visits the queued container contents depth first, one frame per open container.
    void drain() {
        while (!mFrames.empty()) {
            Frame& frame = mFrames.back();
            if (frame.next == frame.end) {
                if (frame.elements == nullptr) {
                    // A dictionary's entries are the last ones.
                    mEntries.erase(mEntries.begin() + static_cast<std::ptrdiff_t>(frame.start), mEntries.end());
                }
                mFrames.pop_back();
                continue;
            }
            const std::size_t at = frame.next++;
            if (frame.elements != nullptr) {
                value(frame.elements[at]); // may push a frame: `frame` is not used after this
            } else {
                const Entry entry = mEntries[at];
                mSink.text(*entry.key);
                value(*entry.value);
            }
        }
    }

    void value(const Any& any) {
        const AnyType* type = any.type();
        if (type == nullptr) {
            mSink.byte(kEmptyTag);
            return;
        }
        const Tag tag = type == mLastType ? mLastTag : mTags.tagOf(type);
        mLastType = type;
        mLastTag = tag;
        switch (tag) {
        case kBoolTag: {
            // The stored byte, read as a byte: any non-zero pattern is true.
            std::uint8_t stored = 0;
            std::memcpy(&stored, &any.ref<bool>(), 1);
            scalar(tag, stored != 0 ? 1U : 0U, 1);
            break;
        }
        case kCharTag: scalar(tag, bitsOf<char>(any), 1); break;
        case kInt8Tag: scalar(tag, bitsOf<signed char>(any), 1); break;
        case kUInt8Tag: scalar(tag, bitsOf<unsigned char>(any), 1); break;
        case kInt16Tag: scalar(tag, bitsOf<short>(any), 2); break;
        case kUInt16Tag: scalar(tag, bitsOf<unsigned short>(any), 2); break;
        case kInt32Tag: scalar(tag, bitsOf<int>(any), 4); break;
        case kUInt32Tag: scalar(tag, bitsOf<unsigned int>(any), 4); break;
        case kInt64Tag: scalar(tag, bitsOf<long long>(any), 8); break;
        case kUInt64Tag: scalar(tag, bitsOf<unsigned long long>(any), 8); break;
        case kFloatTag: // every NaN as the one quiet NaN; -0.0 keeps its sign bit
            scalar(tag, std::isnan(any.ref<float>()) ? 0x7FC00000U : bitsOf<float>(any), 4);
            break;
        case kDoubleTag:
            scalar(tag, std::isnan(any.ref<double>()) ? 0x7FF8000000000000ULL : bitsOf<double>(any), 8);
            break;
        case kStringTag:
            mSink.byte(tag);
            mSink.text(any.ref<std::string>());
            break;
        case kTimeBaseTag: {
            const Base::TimeBase& rate = any.ref<Base::TimeBase>();
            mSink.byte(tag);
            mSink.count(16);
            mSink.littleEndian(rate.numerator, 8);
            mSink.littleEndian(rate.denominator, 8);
            break;
        }
        case kVectorTag: {
            const std::vector<Any>& elements = any.vec();
            mSink.byte(tag);
            mSink.count(elements.size());
            if (!elements.empty()) {
                mFrames.push_back({elements.data(), 0, 0, elements.size()});
            }
            break;
        }
        case kDictionaryTag: dictionary(any.dict()); break;
        default: host(any); break;
        }
    }

    void scalar(Tag tag, std::uint64_t bits, std::size_t width) noexcept {
        mSink.byte(tag);
        mSink.count(width);
        mSink.littleEndian(bits, width);
    }

    // Entries sorted by the bytes of their key texts (as unsigned bytes, a prefix first).
    void dictionary(const Dictionary& entries) {
        mSink.byte(kDictionaryTag);
        mSink.count(entries.size());
        if (entries.empty()) {
            return;
        }
        const std::size_t start = mEntries.size();
        for (const auto& [key, entry] : entries) {
            mEntries.push_back({0, &key.getString(), &entry});
        }
        sortByKey(mEntries.begin() + static_cast<std::ptrdiff_t>(start), mEntries.end());
        mFrames.push_back({nullptr, start, start, mEntries.size()});
    }

    // A host type: its label text, then the digest of what its own signature slot feeds.
    void host(const Any& any) {
        Engine feed;
        any.type()->signature(feed, any);
        const Base::SkeinHash::Digest digest = feed.digest();
        mSink.byte(kHostTag);
        mSink.text(any.type()->label().getString());
        mSink.text(digest.bytes.data(), digest.bytes.size());
    }

    ByteSink mSink;
    const BuiltinTags& mTags;
    const AnyType* mLastType = nullptr;
    Tag mLastTag = kEmptyTag;
    std::vector<Frame> mFrames;
    std::vector<Entry> mEntries;
};

template <class Root>
Base::SkeinHash::Digest sign(const Root& root) {
    Engine engine;
    {
        Encoder encoder(engine);
        encoder.encode(root);
    } // the sink hands its last bytes to the engine here
    return engine.digest();
}

} // namespace

Base::SkeinHash::Digest canonicalSignature(const Any& value) {
    return sign(value);
}

Base::SkeinHash::Digest canonicalSignature(const Dictionary& dictionary) {
    return sign(dictionary);
}

} // namespace Tessel::Dictionary
