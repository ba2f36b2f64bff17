// Fuzz target: Any::read and Any::write of every built-in type under varied stream flags
// (boolalpha, skipws, base, width, fill, adjustment, showpos, showbase, uppercase), several values
// read from one stream in turn.
//
// Input: read flags, write flags, fill character, a count of values, per value its label, whether
// it is empty, owning or bound and its starting value; then the text to read (the rest).
//
// Invariants (each follows from the documented design):
// - reading is the documented read of the host type, in place: an owning Any, an Any bound to a
//   host variable and a plain host variable read from three identical streams end with the same
//   bytes, and the streams with the same state, flags and position after every value (scalars and
//   strings read with `is >> value`; a time base reads an unsigned int, a separator character and
//   an unsigned int, setting skipws before each of the last two, a failed field being 0);
// - an empty Any reads and writes nothing; the dictionary and vector types throw NotImplemented
//   and leave the stream (state and position, or text) untouched;
// - writing is the documented write under the stream's own flags (`os << value`; a time base as
//   two signed 64-bit decimals around "/"), byte for byte, for owning and bound values alike;
// - a value written and read back under the same base and boolalpha, with skipws set, is the same
//   value, where the text form allows it: not for whitespace characters or strings containing
//   whitespace, not for negative integers written in octal or hexadecimal (they are written as
//   unsigned), not for time-base fields beyond 32 bits, not with a non-blank fill or internal
//   adjustment that puts padding before the value; a finite float or double is compared by its
//   text written again, not by its value (six significant digits);
// - the round-trippable values written one after another with blanks between them read back in
//   the same order and write the same text again.

#include "tsfuzzsupport.h"

#include <foundation/tsexception.h>

#include <array>
#include <climits>
#include <cstdint>
#include <ios>
#include <sstream>
#include <string>

namespace {

using namespace TsFuzz;

constexpr std::size_t kMaxValues = 8;

/// Stream formatting chosen by the input.
struct Format {
    bool boolAlpha = false;
    bool skipWhitespace = true;
    std::ios_base::fmtflags base = std::ios_base::dec; // dec, oct, hex or none
    std::ios_base::fmtflags adjust = std::ios_base::right;
    bool showPos = false;
    bool showBase = false;
    bool upperCase = false;
    std::streamsize width = 0;
    char fill = ' ';

    static Format from(std::uint8_t flags, std::uint8_t more, char fill) {
        static const std::ios_base::fmtflags bases[4] = {std::ios_base::dec, std::ios_base::oct,
                                                         std::ios_base::hex, std::ios_base::fmtflags()};
        static const std::ios_base::fmtflags adjusts[4] = {std::ios_base::right, std::ios_base::left,
                                                           std::ios_base::internal, std::ios_base::fmtflags()};
        Format format;
        format.boolAlpha = (flags & 1) != 0;
        format.skipWhitespace = (flags & 2) != 0;
        format.base = bases[(flags >> 2) & 3];
        format.width = flags >> 4;
        format.adjust = adjusts[more & 3];
        format.showPos = (more & 4) != 0;
        format.showBase = (more & 8) != 0;
        format.upperCase = (more & 16) != 0;
        format.fill = fill;
        return format;
    }

    void applyTo(std::ios& stream) const {
        stream.unsetf(std::ios_base::basefield | std::ios_base::adjustfield);
        stream.setf(base | adjust);
        const auto setFlag = [&stream](bool on, std::ios_base::fmtflags flag) {
            if (on) {
                stream.setf(flag);
            } else {
                stream.unsetf(flag);
            }
        };
        setFlag(boolAlpha, std::ios_base::boolalpha);
        setFlag(skipWhitespace, std::ios_base::skipws);
        setFlag(showPos, std::ios_base::showpos);
        setFlag(showBase, std::ios_base::showbase);
        setFlag(upperCase, std::ios_base::uppercase);
        stream.width(width);
        stream.fill(fill);
    }

    /// True when padding can only be blanks after or before the whole text (never inside it).
    bool padsHarmlessly() const {
        return width == 0 || (isStreamSpace(fill) && adjust != std::ios_base::internal);
    }
};

/// The documented write of a host value.
template <class T>
void documentedWrite(std::ostream& os, const T& value) {
    if constexpr (std::is_same_v<T, TimeBase>) {
        os << static_cast<long long>(value.numerator) << "/" << static_cast<long long>(value.denominator);
    } else {
        os << value;
    }
}

/// Position of a stream's get area, whatever its state.
std::streamoff readPosition(std::istream& is) {
    return is.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
}

void checkSameStreams(std::istream& a, std::istream& b, const char* what) {
    TSFUZZ_CHECK(a.rdstate() == b.rdstate(), std::string(what) + ": stream states differ");
    TSFUZZ_CHECK(a.flags() == b.flags(), std::string(what) + ": stream flags differ");
    TSFUZZ_CHECK(a.width() == b.width(), std::string(what) + ": stream widths differ");
    TSFUZZ_CHECK(readPosition(a) == readPosition(b), std::string(what) + ": stream positions differ");
}

/// Runs `operation`, which must throw NotImplemented from `function`.
template <class F>
void expectNotImplemented(F&& operation, const char* function) {
    bool thrown = false;
    try {
        operation();
    } catch (const Tessel::Base::NotImplemented& e) {
        thrown = true;
        const std::string* where = e.getValue<std::string>("ThrowFunction");
        TSFUZZ_CHECK(where != nullptr && *where == function, std::string("expected a throw from ") + function);
    }
    TSFUZZ_CHECK(thrown, std::string("expected NotImplemented from ") + function);
}

enum Mode { kEmptyValue, kOwned, kBoundValue };

/// True when T's text written under `format` reads back as the same value (see file comment).
template <class T>
bool roundTrips(const T& value, const Format& format) {
    if (!format.padsHarmlessly()) {
        return false;
    }
    if constexpr (std::is_same_v<T, bool>) {
        return true;
    } else if constexpr (sizeof(T) == 1) {
        return !isStreamSpace(static_cast<char>(value));
    } else if constexpr (std::is_integral_v<T>) {
        const bool decimal = format.base == std::ios_base::dec || format.base == std::ios_base::fmtflags();
        return decimal || !std::is_signed_v<T> || value >= 0;
    } else if constexpr (std::is_floating_point_v<T>) {
        return std::isfinite(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return !containsStreamSpace(value);
    } else if constexpr (std::is_same_v<T, TimeBase>) {
        return value.numerator <= UINT_MAX && value.denominator <= UINT_MAX;
    } else {
        return false;
    }
}

/// Read-back flags for a text written under `format`: same base and boolalpha, skipws set.
Format readBackFormat(const Format& written) {
    Format format;
    format.base = written.base;
    format.boolAlpha = written.boolAlpha;
    format.skipWhitespace = true;
    return format;
}

template <class T>
void checkSameValueRead(const T& original, const T& reread, const std::string& text) {
    if constexpr (std::is_floating_point_v<T>) {
        (void)original;
        (void)reread;
        (void)text; // compared by text by the caller
    } else {
        TSFUZZ_CHECK(sameBits(original, reread),
                     "wrote " + show(original) + " as " + escaped(text) + ", read back " + show(reread));
    }
}

/// Writes `value` under `format`, reads it back into a fresh owned value and compares.
template <class T>
void checkRoundTrip(const Any& any, const T& value, const Format& format) {
    std::ostringstream out;
    format.applyTo(out);
    any.write(out);
    const std::string text = out.str();

    std::istringstream in(text);
    readBackFormat(format).applyTo(in);
    Any back;
    back.set(T());
    back.read(in);
    checkSameValueRead(value, back.ref<T>(), text);

    std::ostringstream again;
    format.applyTo(again);
    back.write(again);
    TSFUZZ_CHECK(again.str() == text, "text " + escaped(text) + " read back writes " + escaped(again.str()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    const std::uint8_t readFlags = in.byte();
    const std::uint8_t writeFlags = in.byte();
    const std::uint8_t writeMore = in.byte();
    const char writeFill = static_cast<char>(in.byte());
    const Format readFormat = Format::from(readFlags, 0, ' ');
    const Format writeFormat = Format::from(writeFlags, writeMore, writeFill);
    const std::size_t count = 1 + in.below(kMaxValues);

    // Variables first: they outlive the values bound to them.
    std::array<HostVariables, kMaxValues> bound;
    std::array<HostVariables, kMaxValues> plain;
    std::array<int, kMaxValues> labels{};
    std::array<int, kMaxValues> modes{};
    std::array<Any, kMaxValues> owned;
    std::array<Any, kMaxValues> binding;

    for (std::size_t i = 0; i < count; ++i) {
        labels[i] = static_cast<int>(in.below(kLabelCount));
        modes[i] = static_cast<int>(in.below(3));
        withHostType(labels[i], [&](auto tag) {
            using T = typename decltype(tag)::type;
            const T start = makeValue<T>(in);
            plain[i].of<T>() = start;
            bound[i].of<T>() = start;
            if (modes[i] != kEmptyValue) {
                owned[i].set(start);
                binding[i] = Tessel::Dictionary::BindValue(bound[i].of<T>());
            }
        });
    }
    const std::string text = in.rest();

    // --- reading in turn from one stream ---
    std::istringstream ownedStream(text);
    std::istringstream boundStream(text);
    std::istringstream plainStream(text);
    readFormat.applyTo(ownedStream);
    readFormat.applyTo(boundStream);
    readFormat.applyTo(plainStream);

    for (std::size_t i = 0; i < count; ++i) {
        const int label = labels[i];
        if (modes[i] == kEmptyValue) {
            const auto before = readPosition(ownedStream);
            const auto state = ownedStream.rdstate();
            owned[i].read(ownedStream);
            TSFUZZ_CHECK(readPosition(ownedStream) == before && ownedStream.rdstate() == state,
                         "an empty value must read nothing");
            continue;
        }
        if (label == kDictionary || label == kVector) {
            const char* function = label == kDictionary ? "Tessel::Dictionary::Impl::DictionaryType::read"
                                                        : "Tessel::Dictionary::Impl::VectorType::read";
            const auto before = readPosition(ownedStream);
            const auto state = ownedStream.rdstate();
            expectNotImplemented([&] { owned[i].read(ownedStream); }, function);
            expectNotImplemented([&] { binding[i].read(boundStream); }, function);
            TSFUZZ_CHECK(readPosition(ownedStream) == before && ownedStream.rdstate() == state,
                         "a failed read must leave the stream untouched");
            checkSameStreams(ownedStream, boundStream, "container read");
            continue;
        }
        withHostType(label, [&](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (!std::is_same_v<T, Dictionary> && !std::is_same_v<T, AnyVector>) {
                owned[i].read(ownedStream);
                binding[i].read(boundStream);
                documentedRead(plainStream, plain[i].of<T>());
                checkSameStreams(ownedStream, plainStream, "owned read");
                checkSameStreams(boundStream, plainStream, "bound read");
                const T& expected = plain[i].of<T>();
                TSFUZZ_CHECK(sameBits(owned[i].ref<T>(), expected),
                             "owned read " + show(owned[i].ref<T>()) + ", documented read " + show(expected));
                TSFUZZ_CHECK(sameBits(bound[i].of<T>(), expected),
                             "bound read " + show(bound[i].of<T>()) + ", documented read " + show(expected));
                TSFUZZ_CHECK(binding[i].type() == owned[i].type(), "a read must not change the type");
            }
        });
    }

    // --- writing in turn to one stream ---
    std::ostringstream ownedOut;
    std::ostringstream boundOut;
    std::ostringstream plainOut;
    writeFormat.applyTo(ownedOut);
    writeFormat.applyTo(boundOut);
    writeFormat.applyTo(plainOut);
    for (std::size_t i = 0; i < count; ++i) {
        const int label = labels[i];
        if (modes[i] == kEmptyValue) {
            owned[i].write(ownedOut);
            TSFUZZ_CHECK(ownedOut.str() == plainOut.str(), "an empty value must write nothing");
            continue;
        }
        if (label == kDictionary || label == kVector) {
            const char* function = label == kDictionary ? "Tessel::Dictionary::Dictionary::write"
                                                        : "Tessel::Dictionary::Impl::VectorType::write";
            expectNotImplemented([&] { owned[i].write(ownedOut); }, function);
            expectNotImplemented([&] { binding[i].write(boundOut); }, function);
            TSFUZZ_CHECK(ownedOut.str() == plainOut.str() && boundOut.str() == plainOut.str(),
                         "a failed write must write nothing");
            continue;
        }
        withHostType(label, [&](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (!std::is_same_v<T, Dictionary> && !std::is_same_v<T, AnyVector>) {
                owned[i].write(ownedOut);
                binding[i].write(boundOut);
                documentedWrite(plainOut, plain[i].of<T>());
                TSFUZZ_CHECK(ownedOut.str() == plainOut.str(),
                             "owned write " + escaped(ownedOut.str()) + ", documented " + escaped(plainOut.str()));
                TSFUZZ_CHECK(boundOut.str() == plainOut.str(),
                             "bound write " + escaped(boundOut.str()) + ", documented " + escaped(plainOut.str()));
                TSFUZZ_CHECK(ownedOut.rdstate() == plainOut.rdstate() && ownedOut.width() == plainOut.width());
            }
        });
    }

    // --- round trips: each value alone, then all round-trippable ones in one stream ---
    bool allRoundTrip = true;
    std::ostringstream joined;
    std::size_t joinedCount = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (modes[i] == kEmptyValue || labels[i] == kDictionary || labels[i] == kVector) {
            continue;
        }
        withHostType(labels[i], [&](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (!std::is_same_v<T, Dictionary> && !std::is_same_v<T, AnyVector>) {
                const T& value = owned[i].ref<T>();
                if (!roundTrips(value, writeFormat)) {
                    allRoundTrip = false;
                    return;
                }
                checkRoundTrip(owned[i], value, writeFormat);
                if constexpr (std::is_same_v<T, std::string>) {
                    if (value.empty()) {
                        allRoundTrip = false; // writes nothing: the next word would be read instead
                    }
                }
                writeFormat.applyTo(joined);
                owned[i].write(joined);
                joined << ' ';
                ++joinedCount;
            }
        });
    }
    if (allRoundTrip && joinedCount > 0) {
        const std::string joinedText = joined.str();
        std::istringstream back(joinedText);
        readBackFormat(writeFormat).applyTo(back);
        std::ostringstream rewritten;
        for (std::size_t i = 0; i < count; ++i) {
            if (modes[i] == kEmptyValue || labels[i] == kDictionary || labels[i] == kVector) {
                continue;
            }
            withHostType(labels[i], [&](auto tag) {
                using T = typename decltype(tag)::type;
                if constexpr (!std::is_same_v<T, Dictionary> && !std::is_same_v<T, AnyVector>) {
                    Any value;
                    value.set(T());
                    value.read(back);
                    checkSameValueRead(owned[i].ref<T>(), value.ref<T>(), joinedText);
                    writeFormat.applyTo(rewritten);
                    value.write(rewritten);
                    rewritten << ' ';
                }
            });
        }
        TSFUZZ_CHECK(rewritten.str() == joinedText,
                     "values " + escaped(joinedText) + " read back write " + escaped(rewritten.str()));
    }
    return 0;
}
