// Reading JSON into values: nlohmann's SAX parser (iterative, so no document can overflow the
// call stack) feeds events that build the Any in place, with no intermediate document tree.

#include "tsjsonsupport.h"

#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>
#include <foundation/tsnameatom.h>
#include <foundation/tstimebase.h>

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <cstdint>
#include <istream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace Tessel::Dictionary {

namespace {

using namespace Impl::Json;
using Json = nlohmann::json;

// An iterator over the text that records how far the parser has read, so that faults the handler
// finds (which the parser cannot place) are reported where they are.
class TrackingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    TrackingIterator(const char* position, const char** consumed) noexcept
        : mPosition(position), mConsumed(consumed) {}

    reference operator*() const noexcept { return *mPosition; }
    TrackingIterator& operator++() noexcept {
        *mConsumed = ++mPosition;
        return *this;
    }
    TrackingIterator operator++(int) noexcept {
        TrackingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const TrackingIterator& other) const noexcept { return mPosition == other.mPosition; }
    bool operator!=(const TrackingIterator& other) const noexcept { return mPosition != other.mPosition; }

private:
    const char* mPosition;
    const char** mConsumed;
};

// Access to the intern table of labels, to look a label up without interning untrusted text.
struct LabelTable : TypeAtom {
    using TypeAtom::getManager;
};

bool isTagKey(const std::string& key) noexcept {
    return !key.empty() && key[0] == kTagMark && (key.size() == 1 || key[1] != kTagMark);
}

// Stores `value` as a new value of a built-in label in the empty `slot`.
template <class T>
void put(Any& slot, Label label, const T& value) {
    slot = builtins().prototype[label];
    slot.ref<T>() = value;
}

// Moves the value of `from` into the empty `to` without a deep copy: containers and strings are
// swapped into a new empty value, everything else is small and copied.
void relocate(Any& from, Any& to) {
    const BuiltinTypes& table = builtins();
    const AnyType* type = from.type();
    if (type == table.type[kDictionary]) {
        to = table.prototype[kDictionary];
        to.dict().swap(from.dict());
    } else if (type == table.type[kVector]) {
        to = table.prototype[kVector];
        to.vec().swap(from.vec());
    } else if (type == table.type[kString]) {
        to = table.prototype[kString];
        to.ref<std::string>().swap(from.ref<std::string>());
    } else {
        to = from;
    }
}

// Appends an empty element. Any has no move operations, so a growing vector would copy every
// element deeply; growth relocates them instead.
void appendElement(std::vector<Any>& elements) {
    if (elements.size() == elements.capacity()) {
        std::vector<Any> grown;
        grown.reserve(elements.empty() ? 8 : 2 * elements.size());
        for (Any& element : elements) {
            grown.emplace_back();
            relocate(element, grown.back());
        }
        elements.swap(grown);
    }
    elements.emplace_back();
}

// The integer read into `slot` as a plain number, if it fits T.
template <class T>
bool integerFits(const Any& slot, Label held, T& result) {
    if (held == kInt64) {
        const long long value = slot.ref<long long>();
        const bool fits = value < 0 ? value >= static_cast<long long>(std::numeric_limits<T>::min())
                                    : static_cast<unsigned long long>(value) <= static_cast<unsigned long long>(std::numeric_limits<T>::max());
        if (fits) {
            result = static_cast<T>(value);
        }
        return fits;
    }
    // A plain uint64 is above the int64 range, so only the uint64 label holds it.
    if (held == kUInt64 && std::is_same_v<T, unsigned long long>) {
        result = static_cast<T>(slot.ref<unsigned long long>());
        return true;
    }
    return false;
}

// The non-finite values the typed form writes as strings.
template <class T>
bool nonFiniteNamed(const std::string& name, T& result) {
    if (name == "NaN") {
        result = std::numeric_limits<T>::quiet_NaN();
    } else if (name == "Infinity") {
        result = std::numeric_limits<T>::infinity();
    } else if (name == "-Infinity") {
        result = -std::numeric_limits<T>::infinity();
    } else {
        return false;
    }
    return true;
}

// "numerator/denominator", both unsigned 64-bit decimals without sign or blanks.
bool parseFraction(const std::string& text, Base::TimeBase& result) {
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return false;
    }
    const auto field = [&](std::size_t begin, std::size_t end, unsigned long long& value) {
        const auto parsed = std::from_chars(text.data() + begin, text.data() + end, value);
        return begin != end && parsed.ec == std::errc() && parsed.ptr == text.data() + end;
    };
    return field(0, slash, result.numerator) && field(slash + 1, text.size(), result.denominator);
}

constexpr const char* kNulReason = "a NUL byte is not JSON";

class Reader {
public:
    Reader(std::string_view text, const JsonOptions& options, const char* function, Any& root)
        : mText(text), mMaxDepth(options.maxDepth), mFunction(function), mRoot(root), mConsumed(text.data()) {}

    void run() {
        const char* begin = mText.data();
        Json::sax_parse(TrackingIterator(begin, &mConsumed), TrackingIterator(begin + mText.size(), &mConsumed),
                        this, nlohmann::json::input_format_t::json, true, false);
        // The parser takes a NUL byte for the end of the text, so a document that parsed stopped
        // at the true end or at a NUL (then the last byte it read); here a NUL is data, never JSON.
        const auto consumed = static_cast<std::size_t>(mConsumed - begin);
        if (consumed != mText.size() || (consumed != 0 && mText[consumed - 1] == '\0')) {
            throwReadError(__FILE__, __LINE__, mFunction, kNulReason, "", mText, consumed - 1);
        }
    }

    // --- the SAX interface; a fault throws JsonException from the event that finds it.

    bool null() {
        slotForValue();
        return true;
    }
    bool boolean(bool value) {
        put(*slotForValue(), kBool, value);
        return true;
    }
    bool number_integer(std::int64_t value) {
        put(*slotForValue(), kInt64, static_cast<long long>(value));
        return true;
    }
    bool number_unsigned(std::uint64_t value) {
        if (value <= static_cast<std::uint64_t>(std::numeric_limits<long long>::max())) {
            put(*slotForValue(), kInt64, static_cast<long long>(value));
        } else {
            put(*slotForValue(), kUInt64, static_cast<unsigned long long>(value));
        }
        return true;
    }
    bool number_float(double value, const std::string& text) {
        // A number without fraction or exponent is an integer: one beyond 64 bits fits no label.
        if (text.find_first_not_of("-0123456789") == std::string::npos) {
            fail("the integer " + text + " is outside the 64-bit range");
        }
        if (!mFrames.empty() && mFrames.back().kind == Kind::Tag) {
            mTagNumberText = text;
        }
        put(*slotForValue(), kDouble, value);
        return true;
    }
    bool string(std::string& value) {
        Any& slot = *slotForValue();
        slot = builtins().prototype[kString];
        slot.ref<std::string>() = value;
        return true;
    }
    bool binary(Json::binary_t& /*value*/) { return true; } // only binary formats produce it

    bool start_array(std::size_t /*size*/) {
        Any& slot = openContainer();
        slot = builtins().prototype[kVector];
        Frame frame;
        frame.kind = Kind::Array;
        frame.vector = &slot.vec();
        mFrames.push_back(frame);
        return true;
    }
    bool end_array() {
        mFrames.pop_back();
        return true;
    }
    bool start_object(std::size_t /*size*/) {
        Frame frame;
        frame.kind = Kind::PendingObject;
        frame.slot = &openContainer();
        mFrames.push_back(frame);
        return true;
    }
    bool key(std::string& key) {
        Frame& frame = mFrames.back();
        if (frame.kind == Kind::PendingObject) {
            if (isTagKey(key)) {
                return openTag(key);
            }
            *frame.slot = builtins().prototype[kDictionary];
            frame.dictionary = &frame.slot->dict();
            frame.kind = Kind::Object;
        } else if (frame.kind == Kind::Tag || isTagKey(key)) {
            if (frame.kind == Kind::Object) {
                frame.key = Dictionary::Key(key); // the path names the offending member
            }
            fail("a tag must be the only member of its object");
        }
        if (key.size() > 1 && key[0] == kTagMark) {
            key.erase(0, 1); // "!!x" is the escaped key "!x"
        }
        frame.key = intern(key);
        const std::size_t before = frame.dictionary->size();
        frame.slot = &(*frame.dictionary)[frame.key];
        if (frame.dictionary->size() == before) {
            fail("the key is repeated");
        }
        return true;
    }
    bool end_object() {
        Frame& frame = mFrames.back();
        if (frame.kind == Kind::PendingObject) {
            *frame.slot = builtins().prototype[kDictionary];
        } else if (frame.kind == Kind::Tag) {
            finishTag(frame);
        }
        mFrames.pop_back();
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*lastToken*/, const Json::exception& error) {
        // The parser's message starts with its exception's name and, for syntax errors, repeats
        // the position before ": "; the items carry ours.
        std::string reason = error.what();
        if (!reason.empty() && reason.front() == '[') {
            reason.erase(0, reason.find("] ") + 2);
        }
        if (reason.compare(0, 11, "parse error") == 0 && reason.find(": ") != std::string::npos) {
            reason.erase(0, reason.find(": ") + 2);
        }
        const std::size_t offset = position == 0 ? 0 : position - 1;
        if (offset < mText.size() && mText[offset] == '\0') {
            reason = kNulReason;
        }
        throwReadError(__FILE__, __LINE__, mFunction, reason, keyPath(), mText, offset);
    }

private:
    enum class Kind { Array, PendingObject, Object, Tag };

    // One open array or object. An object is pending until its first key tells whether it is a
    // dictionary or a tagged value.
    struct Frame {
        Kind kind = Kind::Array;
        Any* slot = nullptr;                 // object: the entry being read; tag: the tagged value
        std::vector<Any>* vector = nullptr;  // array
        Dictionary* dictionary = nullptr;    // object
        Dictionary::Key key;                 // object: the key being read
        Label label = kHostType;             // tag
        const AnyType* hostType = nullptr;   // tag of a host type
    };

    // Keys repeat, so recent ones are kept by the hash of their text: interning locks the
    // process-wide table and searches it by text.
    Dictionary::Key intern(const std::string& key) {
        std::size_t hash = key.size();
        for (const char c : key) {
            hash = hash * 31 + static_cast<unsigned char>(c);
        }
        KeyCacheEntry& cached = mKeyCache[hash % mKeyCache.size()];
        if (!cached.used || cached.text != key) {
            cached.atom = Dictionary::Key(key);
            cached.text = key;
            cached.used = true;
        }
        return cached.atom;
    }

    // The empty Any that the next value goes into.
    Any* slotForValue() {
        if (mFrames.empty()) {
            return &mRoot;
        }
        Frame& frame = mFrames.back();
        if (frame.kind == Kind::Array) {
            appendElement(*frame.vector);
            return &frame.vector->back();
        }
        return frame.slot;
    }

    Any& openContainer() {
        Any& slot = *slotForValue();
        if (mFrames.size() >= mMaxDepth) {
            fail("nesting deeper than " + std::to_string(mMaxDepth) + " levels");
        }
        return slot;
    }

    bool openTag(const std::string& key) {
        if (mFrames.size() > 1 && mFrames[mFrames.size() - 2].kind == Kind::Tag) {
            fail("a tagged value cannot hold another tag");
        }
        const std::string labelText = key.substr(1);
        Frame& frame = mFrames.back();
        frame.kind = Kind::Tag;
        frame.label = labelNamed(labelText);
        if (frame.label == kHostType) {
            // Only a label that is already interned can be registered; others are not interned.
            if (LabelTable::getManager().findIndex(labelText) != 0) {
                frame.hostType = AnyTypeRegistry::typeByLabel(TypeAtom(labelText));
            }
            if (frame.hostType == nullptr) {
                fail("unknown label '" + labelText + "'");
            }
        }
        return true;
    }

    // Turns the plain value read inside a tag into a value of the tag's label.
    void finishTag(const Frame& frame) {
        Any& slot = *frame.slot;
        const Label held = labelOf(slot.type());
        switch (frame.label) {
        case kBool: return expect(held == kBool, frame, "true or false");
        case kChar: {
            const char* need = "a one-character ASCII string or an integer from -128 to 127";
            if (held == kString) {
                const std::string text = slot.ref<std::string>();
                expect(text.size() == 1 && static_cast<unsigned char>(text[0]) < 0x80, frame, need);
                slot.clear();
                return put(slot, kChar, text[0]);
            }
            return convertInteger<char>(slot, held, frame, need);
        }
        case kInt8: return convertInteger<signed char>(slot, held, frame);
        case kUInt8: return convertInteger<unsigned char>(slot, held, frame);
        case kInt16: return convertInteger<short>(slot, held, frame);
        case kUInt16: return convertInteger<unsigned short>(slot, held, frame);
        case kInt32: return convertInteger<int>(slot, held, frame);
        case kUInt32: return convertInteger<unsigned int>(slot, held, frame);
        case kInt64: return convertInteger<long long>(slot, held, frame);
        case kUInt64: return convertInteger<unsigned long long>(slot, held, frame);
        case kFloat: return convertFloating<float>(slot, held, frame);
        case kDouble: return convertFloating<double>(slot, held, frame);
        case kString: return expect(held == kString, frame, "a string");
        case kDictionary: return expect(held == kDictionary, frame, "an object");
        case kVector: return expect(held == kVector, frame, "an array");
        case kTimeBase: {
            Base::TimeBase timeBase;
            const char* need = "a string \"numerator/denominator\" of unsigned 64-bit integers";
            expect(held == kString && parseFraction(slot.ref<std::string>(), timeBase), frame, need);
            slot.clear();
            return put(slot, kTimeBase, timeBase);
        }
        case kHostType: {
            expect(held == kString, frame, "a string");
            const std::string text = slot.ref<std::string>();
            return slot.parse(text, *frame.hostType);
        }
        }
    }

    template <class T>
    void convertInteger(Any& slot, Label held, const Frame& frame, const char* need = nullptr) {
        T value{};
        const bool fits = integerFits(slot, held, value);
        if (!fits) {
            const std::string range = "an integer from " + std::to_string(+std::numeric_limits<T>::min()) + " to " +
                                      std::to_string(+std::numeric_limits<T>::max());
            expect(false, frame, need != nullptr ? need : range.c_str());
        }
        slot.clear();
        put(slot, frame.label, value);
    }

    template <class T>
    void convertFloating(Any& slot, Label held, const Frame& frame) {
        T value{};
        bool fits = true;
        if (held == kInt64) {
            value = static_cast<T>(slot.ref<long long>());
        } else if (held == kUInt64) {
            value = static_cast<T>(slot.ref<unsigned long long>());
        } else if (held == kDouble && std::is_same_v<T, double>) {
            return;
        } else if (held == kDouble) {
            // A float is read from the number's own text: rounding it to double first could round
            // twice. The parser writes the locale's decimal point into that text; put '.' back.
            std::string text = mTagNumberText;
            for (char& c : text) {
                c = (c >= '0' && c <= '9') || c == '-' || c == '+' || c == 'e' || c == 'E' ? c : '.';
            }
            const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
            fits = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
        } else {
            fits = held == kString && nonFiniteNamed(slot.ref<std::string>(), value);
        }
        expect(fits, frame,
               std::is_same_v<T, float> ? "a number in the float range, \"NaN\", \"Infinity\" or \"-Infinity\""
                                        : "a number, \"NaN\", \"Infinity\" or \"-Infinity\"");
        slot.clear();
        put(slot, frame.label, value);
    }

    void expect(bool holds, const Frame& frame, const char* need) {
        if (!holds) {
            const std::string label = frame.label == kHostType ? frame.hostType->label().getString()
                                                               : std::string(builtins().text[frame.label]);
            fail("a '" + std::string(1, kTagMark) + label + "' tag needs " + need);
        }
    }

    // Where the value being read sits: a key per object, an index per array.
    std::string keyPath() const {
        std::string path;
        for (const Frame& frame : mFrames) {
            if (frame.kind == Kind::Object) {
                appendPathSegment(path, frame.key.getString());
            } else if (frame.kind == Kind::Array && !frame.vector->empty()) {
                appendPathSegment(path, std::to_string(frame.vector->size() - 1));
            }
        }
        return path;
    }

    [[noreturn]] void fail(const std::string& reason) const {
        const auto consumed = static_cast<std::size_t>(mConsumed - mText.data());
        throwReadError(__FILE__, __LINE__, mFunction, reason, keyPath(), mText, consumed == 0 ? 0 : consumed - 1);
    }

    const std::string_view mText;
    const std::size_t mMaxDepth;
    const char* const mFunction;
    Any& mRoot;
    const char* mConsumed;
    std::vector<Frame> mFrames;
    std::string mTagNumberText;

    struct KeyCacheEntry {
        bool used = false;
        std::string text;
        Dictionary::Key atom;
    };
    std::array<KeyCacheEntry, 256> mKeyCache;
};

Any read(std::string_view text, const JsonOptions& options, const char* function) {
    Any result;
    Reader(text, options, function, result).run();
    return result;
}

} // namespace

Any fromJson(std::string_view text, const JsonOptions& options) {
    return read(text, options, "Tessel::Dictionary::fromJson");
}

Any readJson(std::istream& is, const JsonOptions& options) {
    // Straight from the buffer: reaching the end is what was asked for, so it sets eofbit only
    // (istream::read would also set failbit, which throws on a stream with exceptions enabled).
    std::string text;
    const std::istream::sentry sentry(is, true);
    if (sentry) {
        char buffer[1 << 14];
        std::streamsize got = 0;
        while ((got = is.rdbuf()->sgetn(buffer, sizeof buffer)) > 0) {
            text.append(buffer, static_cast<std::size_t>(got));
        }
    }
    is.setstate(std::ios::eofbit);
    return read(text, options, "Tessel::Dictionary::readJson");
}

} // namespace Tessel::Dictionary
