// Writing values as JSON: straight from the Any into the output text, with an explicit stack of
// open containers so that no depth of value can overflow the call stack.

#include "tsjsonsupport.h"

#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>
#include <foundation/tsexception.h>
#include <foundation/tstimebase.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace Tessel::Dictionary {

namespace {

using namespace Impl::Json;

// The length of the valid UTF-8 sequence that starts at `p` (a byte of 0x80 or more), or 0 for an
// invalid one: no overlong forms, no surrogates, nothing above U+10FFFF.
std::size_t utf8SequenceLength(const unsigned char* p, const unsigned char* end) noexcept {
    const unsigned char lead = *p;
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (static_cast<std::size_t>(end - p) < length || p[1] < low || p[1] > high) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if (p[i] < 0x80 || p[i] > 0xBF) {
            return 0;
        }
    }
    return length;
}

// Appends `prefix` and `text` as one JSON string; false (with a partial string appended) when
// `text` is not UTF-8. The prefix is plain ASCII: the tag mark of a tag or of an escaped key.
bool appendString(std::string& out, std::string_view prefix, std::string_view text) {
    static const char kHex[] = "0123456789abcdef";
    out += '"';
    out += prefix;
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = p + text.size();
    const auto* run = p;
    while (p != end) {
        const unsigned char c = *p;
        if (c >= 0x20 && c < 0x80 && c != '"' && c != '\\') {
            ++p;
            continue;
        }
        if (c >= 0x80) {
            const std::size_t length = utf8SequenceLength(p, end);
            if (length == 0) {
                return false;
            }
            p += length;
            continue;
        }
        out.append(reinterpret_cast<const char*>(run), static_cast<std::size_t>(p - run));
        out += '\\';
        switch (c) {
        case '"': out += '"'; break;
        case '\\': out += '\\'; break;
        case '\b': out += 'b'; break;
        case '\f': out += 'f'; break;
        case '\n': out += 'n'; break;
        case '\r': out += 'r'; break;
        case '\t': out += 't'; break;
        default:
            out += "u00";
            out += kHex[c >> 4];
            out += kHex[c & 0xF];
        }
        run = ++p;
    }
    out.append(reinterpret_cast<const char*>(run), static_cast<std::size_t>(end - run));
    out += '"';
    return true;
}

// Integers in decimal; floating-point values in their shortest text that reads back exactly,
// with ".0" added where that text would read as an integer.
template <class T>
void appendNumber(std::string& out, T value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
    if constexpr (std::is_floating_point_v<T>) {
        if (std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)).find_first_of(".e") ==
            std::string_view::npos) {
            out += ".0";
        }
    }
}

// The names under which the typed form keeps what JSON numbers cannot hold.
template <class T>
const char* nonFiniteName(T value) noexcept {
    return std::isnan(value) ? "NaN" : (value > 0 ? "Infinity" : "-Infinity");
}

class Writer {
public:
    Writer(const JsonOptions& options, const char* function)
        : mTyped(options.form == JsonForm::Typed), mIndent(options.indent), mMaxDepth(options.maxDepth),
          mFunction(function) {}

    std::string run(const Any& root) {
        writeValue(root);
        while (!mFrames.empty()) {
            const Any* next = advance(mFrames.back());
            if (next == nullptr) {
                const bool isDictionary = mFrames.back().dictionary != nullptr;
                mFrames.pop_back();
                newLine(mFrames.size());
                mOut += isDictionary ? '}' : ']';
            } else {
                writeValue(*next);
            }
        }
        return std::move(mOut);
    }

private:
    // One open container and the element being written in it.
    struct Frame {
        const Dictionary* dictionary = nullptr;
        const std::vector<Any>* vector = nullptr;
        Dictionary::const_iterator entry;
        std::size_t index = 0;
        bool started = false;
    };

    // Moves to the next element of `frame` and writes what precedes it (separator, key); null when
    // the container is done.
    const Any* advance(Frame& frame) {
        const bool first = !frame.started;
        frame.started = true;
        if (frame.dictionary != nullptr) {
            if (!first) {
                ++frame.entry;
            }
            if (frame.entry == frame.dictionary->end()) {
                return nullptr;
            }
        } else {
            if (!first) {
                ++frame.index;
            }
            if (frame.index == frame.vector->size()) {
                return nullptr;
            }
        }
        if (!first) {
            mOut += ',';
        }
        newLine(mFrames.size());
        if (frame.vector != nullptr) {
            return &(*frame.vector)[frame.index];
        }
        writeKey(frame.entry->first);
        return &frame.entry->second;
    }

    // Keys repeat, so their written form is cached by atom index: a key's text is fetched (which
    // locks the intern table), checked and escaped once per document rather than once per use.
    void writeKey(const Dictionary::Key& key) {
        KeyCacheEntry& cached = mKeyCache[key.getIndex() % mKeyCache.size()];
        if (!cached.used || cached.index != key.getIndex()) {
            const std::string& text = key.getString();
            // In the typed form a key that starts with the tag mark gets a second one.
            const bool escape = mTyped && !text.empty() && text.front() == kTagMark;
            cached.written.clear();
            if (!appendString(cached.written, escape ? std::string_view(&kTagMark, 1) : std::string_view(), text)) {
                cached.used = false;
                fail("the key is not valid UTF-8");
            }
            cached.written += mIndent != 0 ? ": " : ":";
            cached.index = key.getIndex();
            cached.used = true;
        }
        mOut += cached.written;
    }

    void writeValue(const Any& value) {
        if (value.isEmpty()) {
            mOut += "null";
            return;
        }
        const Label label = labelOf(value.type());
        switch (label) {
        case kBool: mOut += value.ref<bool>() ? "true" : "false"; return;
        case kChar: return writeChar(value.ref<char>());
        case kInt8: return writeTaggedNumber(label, value.ref<signed char>());
        case kUInt8: return writeTaggedNumber(label, value.ref<unsigned char>());
        case kInt16: return writeTaggedNumber(label, value.ref<short>());
        case kUInt16: return writeTaggedNumber(label, value.ref<unsigned short>());
        case kInt32: return writeTaggedNumber(label, value.ref<int>());
        case kUInt32: return writeTaggedNumber(label, value.ref<unsigned int>());
        case kInt64: return appendNumber(mOut, value.ref<long long>());
        case kUInt64: {
            // Above the int64 range a bare number already reads back as a "uint64".
            const unsigned long long number = value.ref<unsigned long long>();
            const bool bare = number > static_cast<unsigned long long>(std::numeric_limits<long long>::max());
            return bare ? appendNumber(mOut, number) : writeTaggedNumber(label, number);
        }
        case kFloat: return writeFloating(label, value.ref<float>());
        case kDouble: return writeFloating(label, value.ref<double>());
        case kString: return writeString(value.ref<std::string>());
        case kTimeBase: return writeText(label, "", value.ref<Base::TimeBase>().fractionText());
        case kDictionary: return open(&value.ref<Dictionary>(), nullptr);
        case kVector: return open(nullptr, &value.ref<std::vector<Any>>());
        case kHostType: return writeHostValue(value);
        }
    }

    void writeChar(char c) {
        const bool printable = c >= 0x20 && c < 0x7F;
        openTag(kChar, "");
        if (printable) {
            writeString(std::string_view(&c, 1));
        } else {
            appendNumber(mOut, static_cast<int>(c));
        }
        closeTag();
    }

    template <class T>
    void writeTaggedNumber(Label label, T number) {
        openTag(label, "");
        appendNumber(mOut, number);
        closeTag();
    }

    template <class T>
    void writeFloating(Label label, T number) {
        if (std::isfinite(number)) {
            if (label == kDouble) {
                return appendNumber(mOut, number);
            }
            openTag(label, "");
            appendNumber(mOut, number);
            return closeTag();
        }
        if (!mTyped) {
            fail(std::string(nonFiniteName(number)) + " has no plain JSON form");
        }
        writeText(label, "", nonFiniteName(number));
    }

    // A value kept as text: tagged with its label in the typed form, a bare string in the plain.
    void writeText(Label label, std::string_view labelText, std::string_view text) {
        openTag(label, labelText);
        writeString(text);
        closeTag();
    }

    void writeString(std::string_view text) {
        if (!appendString(mOut, std::string_view(), text)) {
            fail("the string is not valid UTF-8");
        }
    }

    // A host type: its own text form under its label.
    void writeHostValue(const Any& value) {
        const std::string& labelText = value.type()->label().getString();
        if (labelText.empty() || labelText.front() == kTagMark) {
            fail("the label '" + labelText + "' cannot be written as a tag");
        }
        std::ostringstream text;
        try {
            value.write(text);
        } catch (const Base::Exception& e) {
            fail("the value of type '" + labelText + "' has no text form: " + e.userMessage());
        }
        writeText(kHostType, labelText, text.str());
    }

    void openTag(Label label, std::string_view labelText) {
        if (!mTyped) {
            return;
        }
        checkDepth(mFrames.size() + 1);
        mOut += '{';
        const std::string_view text = label == kHostType ? labelText : builtins().text[label];
        if (!appendString(mOut, std::string_view(&kTagMark, 1), text)) {
            fail("the label is not valid UTF-8");
        }
        mOut += mIndent != 0 ? ": " : ":";
    }

    void closeTag() {
        if (mTyped) {
            mOut += '}';
        }
    }

    void open(const Dictionary* dictionary, const std::vector<Any>* vector) {
        checkDepth(mFrames.size() + 1);
        const bool empty = dictionary != nullptr ? dictionary->empty() : vector->empty();
        mOut += dictionary != nullptr ? '{' : '[';
        if (empty) {
            mOut += dictionary != nullptr ? '}' : ']';
            return;
        }
        Frame frame;
        frame.dictionary = dictionary;
        frame.vector = vector;
        if (dictionary != nullptr) {
            frame.entry = dictionary->begin();
        }
        mFrames.push_back(frame);
    }

    void checkDepth(std::size_t depth) {
        if (depth > mMaxDepth) {
            fail("nesting deeper than " + std::to_string(mMaxDepth) + " levels");
        }
    }

    void newLine(std::size_t level) {
        if (mIndent != 0) {
            mOut += '\n';
            mOut.append(level * mIndent, ' ');
        }
    }

    [[noreturn]] void fail(const std::string& reason) const {
        std::string path;
        for (const Frame& frame : mFrames) {
            if (frame.dictionary != nullptr) {
                appendPathSegment(path, frame.entry->first.getString());
            } else {
                appendPathSegment(path, std::to_string(frame.index));
            }
        }
        throwWriteError(__FILE__, __LINE__, mFunction, reason, path);
    }

    struct KeyCacheEntry {
        bool used = false;
        std::uint32_t index = 0;
        std::string written; // the quoted key and its colon
    };

    const bool mTyped;
    const std::size_t mIndent;
    const std::size_t mMaxDepth;
    const char* const mFunction;
    std::string mOut;
    std::vector<Frame> mFrames;
    std::array<KeyCacheEntry, 256> mKeyCache;
};

} // namespace

std::string toJson(const Any& value, const JsonOptions& options) {
    return Writer(options, "Tessel::Dictionary::toJson").run(value);
}

void writeJson(std::ostream& os, const Any& value, const JsonOptions& options) {
    const std::string text = Writer(options, "Tessel::Dictionary::writeJson").run(value);
    os.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace Tessel::Dictionary
