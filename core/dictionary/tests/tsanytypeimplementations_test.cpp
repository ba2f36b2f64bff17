// The scalar and string value types (through the registry) and a host's own value type made
// from the same templates.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsskeinhash.h>

#include <gtest/gtest.h>

#include "tstestsupport.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <ios>
#include <istream>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using Tessel::Base::SkeinHash::Digest;
using Tessel::Base::SkeinHash::Engine;
using Tessel::Dictionary::Any;
using Tessel::Dictionary::AnyCast;
using Tessel::Dictionary::AnyCastException;
using Tessel::Dictionary::AnyCastTable;
using Tessel::Dictionary::AnyType;
using Tessel::Dictionary::AnyTypeRegistry;
using Tessel::Dictionary::BindValue;
using Tessel::Dictionary::TypeAtom;
namespace Impl = Tessel::Dictionary::Impl;

// Values of the type under test are owned copies.
template <class T>
Any owning(const T& value) {
    return Tessel::Dictionary::Testing::holding(value);
}

// --- helpers ------------------------------------------------------------------------------------

const AnyType& typeLabelled(const char* label) {
    const AnyType* type = AnyTypeRegistry::typeByLabel(TypeAtom(label));
    if (type == nullptr) {
        throw std::logic_error(std::string("no type registered under ") + label);
    }
    return *type;
}

// What the type's write slot produces for `any` on a stream prepared by `prepare`.
template <class Prepare>
std::string writtenWith(const AnyType& type, const Any& any, Prepare prepare) {
    std::ostringstream out;
    prepare(out);
    type.write(out, any);
    return out.str();
}

std::string written(const AnyType& type, const Any& any) {
    return writtenWith(type, any, [](std::ostream&) {});
}

Digest digestOfBytes(const void* data, std::size_t size) {
    return Engine().update(data, size).digest();
}

Digest digestOfBytes(const std::vector<unsigned char>& bytes) {
    return digestOfBytes(bytes.data(), bytes.size());
}

Digest signatureOf(const AnyType& type, const Any& any) {
    Engine engine;
    type.signature(engine, any);
    return engine.digest();
}

// --- per-type samples for the checks every type shares ------------------------------------------

template <class T>
struct Sample;

#define TS_SAMPLE(HOST, LABEL, FIRST, SECOND)                                                      \
    template <>                                                                                    \
    struct Sample<HOST> {                                                                          \
        static const char* label() { return LABEL; }                                               \
        static HOST first() { return FIRST; }                                                      \
        static HOST second() { return SECOND; }                                                    \
    }

// Samples survive a write followed by a read on a default stream: no whitespace characters,
// floating-point values with at most six significant digits.
TS_SAMPLE(bool, "bool", true, false);
TS_SAMPLE(char, "char", 'x', 'Y');
TS_SAMPLE(signed char, "int8", static_cast<signed char>(65), static_cast<signed char>(-5));
TS_SAMPLE(unsigned char, "uint8", static_cast<unsigned char>(200), static_cast<unsigned char>('z'));
TS_SAMPLE(short, "int16", static_cast<short>(-12345), static_cast<short>(321));
TS_SAMPLE(unsigned short, "uint16", static_cast<unsigned short>(65535), static_cast<unsigned short>(7));
TS_SAMPLE(int, "int32", INT_MIN, 42);
TS_SAMPLE(unsigned int, "uint32", 4000000000U, 1U);
TS_SAMPLE(long long, "int64", LLONG_MIN, 1234567890123LL);
TS_SAMPLE(unsigned long long, "uint64", ULLONG_MAX, 3ULL);
TS_SAMPLE(float, "float", 2.5F, -0.125F);
TS_SAMPLE(double, "double", -1.5, 1024.25);
TS_SAMPLE(std::string, "string", std::string("word"), std::string("other"));
#undef TS_SAMPLE

// The bytes a value is stored as.
template <class T>
std::vector<unsigned char> storedBytes(const T& value) {
    const auto* first = reinterpret_cast<const unsigned char*>(&value);
    return std::vector<unsigned char>(first, first + sizeof(T));
}

std::vector<unsigned char> storedBytes(const std::string& value) {
    return std::vector<unsigned char>(value.begin(), value.end());
}

template <class T>
class BuiltinValueType : public ::testing::Test {
protected:
    const AnyType& type() const { return typeLabelled(Sample<T>::label()); }
};

using BuiltinHostTypes =
    ::testing::Types<bool, char, signed char, unsigned char, short, unsigned short, int, unsigned int,
                     long long, unsigned long long, float, double, std::string>;
// Instances are named after the labels ("BuiltinValueType/int32.…").
struct LabelNames {
    template <class T>
    static std::string GetName(int) {
        return Sample<T>::label();
    }
};
TYPED_TEST_SUITE(BuiltinValueType, BuiltinHostTypes, LabelNames);

TYPED_TEST(BuiltinValueType, IsRegisteredUnderItsLabelForItsHostType) {
    using T = TypeParam;
    const AnyType& type = this->type();
    EXPECT_EQ(type.label().getString(), Sample<T>::label());
    EXPECT_TRUE(type.typeInfo() == typeid(T));
    EXPECT_EQ(type.name(), TypeAtom(typeid(T).name()));
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(T).name())), &type);

    // set<T> picks this type.
    const Any any = owning(Sample<T>::first());
    EXPECT_EQ(any.type(), &type);
}

TYPED_TEST(BuiltinValueType, NewValueIsValueInitialisedAndDeleteValueFreesIt) {
    using T = TypeParam;
    void* value = this->type().newValue();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(*static_cast<T*>(value), T{});
    this->type().deleteValue(value); // the sanitizer build reports a mismatch or a leak
    EXPECT_NO_THROW(this->type().deleteValue(nullptr));
}

TYPED_TEST(BuiltinValueType, CopyValueAssignsAndSelfCopyKeepsTheValue) {
    using T = TypeParam;
    const T source = Sample<T>::first();
    T target = Sample<T>::second();
    this->type().copyValue(&source, &target);
    EXPECT_EQ(target, source);
    this->type().copyValue(&target, &target);
    EXPECT_EQ(target, source);
}

TYPED_TEST(BuiltinValueType, EqualComparesValues) {
    using T = TypeParam;
    const Any first = owning(Sample<T>::first());
    const Any sameAsFirst(first);
    const Any second = owning(Sample<T>::second());
    EXPECT_TRUE(this->type().equal(first, sameAsFirst));
    EXPECT_TRUE(this->type().equal(first, first));
    EXPECT_FALSE(this->type().equal(first, second));
    EXPECT_FALSE(this->type().equal(second, first));
}

TYPED_TEST(BuiltinValueType, SignatureFeedsExactlyTheStoredBytes) {
    using T = TypeParam;
    for (const T& value : {Sample<T>::first(), Sample<T>::second()}) {
        EXPECT_EQ(signatureOf(this->type(), owning(value)), digestOfBytes(storedBytes(value)));
    }
    // The feed continues the engine's message; it neither restarts nor closes it.
    const T value = Sample<T>::first();
    std::vector<unsigned char> expected{'k', '='};
    const std::vector<unsigned char> bytes = storedBytes(value);
    expected.insert(expected.end(), bytes.begin(), bytes.end());
    expected.push_back('|');
    Engine engine;
    engine.update("k=", 2);
    this->type().signature(engine, owning(value));
    engine.update("|", 1);
    EXPECT_EQ(engine.digest(), digestOfBytes(expected));
}

TYPED_TEST(BuiltinValueType, WriteThenReadRestoresTheValue) {
    using T = TypeParam;
    for (const T& value : {Sample<T>::first(), Sample<T>::second()}) {
        std::stringstream text;
        this->type().write(text, owning(value));
        Any back = owning(T{});
        this->type().read(text, back);
        EXPECT_FALSE(text.fail()) << "text: " << text.str();
        EXPECT_EQ(back.template as<T>(), value) << "text: " << text.str();
    }
}

TYPED_TEST(BuiltinValueType, SlotsWorkOnABoundVariable) {
    using T = TypeParam;
    T variable = Sample<T>::first();
    Any bound{BindValue(variable)};
    ASSERT_EQ(bound.type(), &this->type());

    EXPECT_EQ(written(this->type(), bound), written(this->type(), owning(variable)));
    EXPECT_EQ(signatureOf(this->type(), bound), digestOfBytes(storedBytes(variable)));

    std::stringstream text;
    this->type().write(text, owning(Sample<T>::second()));
    this->type().read(text, bound);
    EXPECT_EQ(variable, Sample<T>::second()) << "text: " << text.str();
}

// --- the label table ----------------------------------------------------------------------------

TEST(BuiltinValueTypeTable, ThirteenLabelsNameTheirHostTypes) {
    struct Row {
        const char* label;
        const std::type_info& host;
    };
    const Row rows[] = {
        {"bool", typeid(bool)},
        {"char", typeid(char)},
        {"int8", typeid(signed char)},
        {"uint8", typeid(unsigned char)},
        {"int16", typeid(short)},
        {"uint16", typeid(unsigned short)},
        {"int32", typeid(int)},
        {"uint32", typeid(unsigned int)},
        {"int64", typeid(long long)},
        {"uint64", typeid(unsigned long long)},
        {"float", typeid(float)},
        {"double", typeid(double)},
        {"string", typeid(std::string)},
    };
    for (const Row& row : rows) {
        const AnyType* type = AnyTypeRegistry::typeByLabel(TypeAtom(row.label));
        ASSERT_NE(type, nullptr) << row.label;
        EXPECT_TRUE(type->typeInfo() == row.host) << row.label;
        EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(row.host.name())), type) << row.label;
    }
}

TEST(BuiltinValueTypeTable, LongTypesAreAliasesOfTheSixtyFourBitTypes) {
    // LP64: long and unsigned long are 64 bits wide and distinct from long long.
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(long).name())), &typeLabelled("int64"));
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(unsigned long).name())),
              &typeLabelled("uint64"));
    EXPECT_TRUE(typeLabelled("int32").aliases().empty());
    EXPECT_TRUE(typeLabelled("uint32").aliases().empty());

    // A bound long is held by "int64" and its slots see the long's bytes.
    long variable = -77;
    Any bound{BindValue(variable)};
    EXPECT_EQ(bound.type(), &typeLabelled("int64"));
    EXPECT_EQ(written(typeLabelled("int64"), bound), "-77");
}

// --- text forms ---------------------------------------------------------------------------------

TEST(BuiltinValueTypeText, BoolIsADigitUnlessTheStreamSaysBoolalpha) {
    const AnyType& type = typeLabelled("bool");
    EXPECT_EQ(written(type, owning(true)), "1");
    EXPECT_EQ(written(type, owning(false)), "0");
    EXPECT_EQ(writtenWith(type, owning(true), [](std::ostream& os) { os << std::boolalpha; }),
              "true");
    EXPECT_EQ(writtenWith(type, owning(false), [](std::ostream& os) { os << std::boolalpha; }),
              "false");

    Any value = owning(false);
    std::istringstream one("1");
    type.read(one, value);
    EXPECT_TRUE(value.as<bool>());

    std::istringstream word("true");
    EXPECT_NO_THROW(type.read(word, value));
    EXPECT_TRUE(word.fail()) << "a word is read only with boolalpha";

    value = owning(false);
    std::istringstream wordAlpha("true");
    wordAlpha >> std::boolalpha;
    type.read(wordAlpha, value);
    EXPECT_FALSE(wordAlpha.fail());
    EXPECT_TRUE(value.as<bool>());

    std::istringstream two("2");
    type.read(two, value);
    EXPECT_TRUE(two.fail());
}

TEST(BuiltinValueTypeText, EightBitTypesWriteAndReadCharacters) {
    EXPECT_EQ(written(typeLabelled("int8"), owning(static_cast<signed char>(65))), "A");
    EXPECT_EQ(written(typeLabelled("uint8"), owning(static_cast<unsigned char>(200))),
              std::string(1, static_cast<char>(200)));
    EXPECT_EQ(written(typeLabelled("char"), owning('7')), "7");

    // The base does not turn them into numbers; the width pads the one character.
    EXPECT_EQ(writtenWith(typeLabelled("int8"), owning(static_cast<signed char>(65)),
                          [](std::ostream& os) { os << std::hex << std::showbase; }),
              "A");
    EXPECT_EQ(writtenWith(typeLabelled("char"), owning('x'),
                          [](std::ostream& os) { os << std::setw(3) << std::setfill('*'); }),
              "**x");

    Any byte = owning(static_cast<unsigned char>(0));
    std::istringstream in(std::string(1, static_cast<char>(200)) + " 12");
    typeLabelled("uint8").read(in, byte);
    EXPECT_EQ(byte.as<unsigned char>(), 200);
    typeLabelled("uint8").read(in, byte); // leading space skipped, one character taken
    EXPECT_EQ(byte.as<unsigned char>(), '1');

    Any character = owning('?');
    std::istringstream spaced(" q");
    spaced >> std::noskipws;
    typeLabelled("char").read(spaced, character);
    EXPECT_EQ(character.as<char>(), ' ') << "without skipws the space is the character";
}

TEST(BuiltinValueTypeText, AnInt8SpaceDoesNotSurviveWriteThenRead) {
    const AnyType& type = typeLabelled("int8");
    std::stringstream text;
    type.write(text, owning(static_cast<signed char>(32)));
    type.write(text, owning(static_cast<signed char>('B')));
    EXPECT_EQ(text.str(), " B");

    Any back = owning(static_cast<signed char>(0));
    type.read(text, back);
    EXPECT_EQ(back.as<signed char>(), 'B') << "the written space is skipped as whitespace";

    std::stringstream onlySpace;
    type.write(onlySpace, owning(static_cast<signed char>(32)));
    EXPECT_NO_THROW(type.read(onlySpace, back));
    EXPECT_TRUE(onlySpace.fail());
}

TEST(BuiltinValueTypeText, StringWritesAllItsBytesAndReadsOneWord) {
    const AnyType& type = typeLabelled("string");
    EXPECT_EQ(written(type, owning(std::string("two words"))), "two words");
    EXPECT_EQ(written(type, owning(std::string())), "");
    const std::string withNul("a\0b", 3);
    EXPECT_EQ(written(type, owning(withNul)), withNul);
    EXPECT_EQ(writtenWith(type, owning(std::string("ab")),
                          [](std::ostream& os) { os << std::setw(5) << std::setfill('.'); }),
              "...ab");
    EXPECT_EQ(writtenWith(type, owning(std::string("ab")),
                          [](std::ostream& os) { os << std::left << std::setw(4); }),
              "ab  ");

    Any value = owning(std::string("previous"));
    std::istringstream twoWords("  two words");
    type.read(twoWords, value);
    EXPECT_EQ(value.as<std::string>(), "two");
    type.read(twoWords, value);
    EXPECT_EQ(value.as<std::string>(), "words");

    std::istringstream limited("abcdef");
    limited >> std::setw(3);
    type.read(limited, value);
    EXPECT_EQ(value.as<std::string>(), "abc") << "the stream's width limits the word";

    std::istringstream empty("");
    EXPECT_NO_THROW(type.read(empty, value));
    EXPECT_TRUE(empty.fail());
}

TEST(BuiltinValueTypeText, FloatingPointUsesTheStreamsPrecisionAndNotation) {
    const AnyType& floatType = typeLabelled("float");
    const AnyType& doubleType = typeLabelled("double");
    EXPECT_EQ(written(floatType, owning(0.1F)), "0.1");
    EXPECT_EQ(written(doubleType, owning(1234567.0)), "1.23457e+06");
    EXPECT_EQ(written(doubleType, owning(-0.0)), "-0");
    EXPECT_EQ(writtenWith(doubleType, owning(3.14159),
                          [](std::ostream& os) { os << std::fixed << std::setprecision(2); }),
              "3.14");
    EXPECT_EQ(writtenWith(doubleType, owning(0.1),
                          [](std::ostream& os) { os << std::setprecision(17); }),
              "0.10000000000000001");
    EXPECT_EQ(writtenWith(floatType, owning(1.5F),
                          [](std::ostream& os) { os << std::scientific << std::setprecision(1); }),
              "1.5e+00");
    EXPECT_EQ(writtenWith(doubleType, owning(2.5),
                          [](std::ostream& os) { os << std::setw(6) << std::setfill('0'); }),
              "0002.5");

    Any value = owning(0.0F);
    std::istringstream in("1e3 -2.25");
    floatType.read(in, value);
    EXPECT_EQ(value.as<float>(), 1000.0F);
    floatType.read(in, value);
    EXPECT_EQ(value.as<float>(), -2.25F);
}

TEST(BuiltinValueTypeText, WideIntegersFollowTheStreamsBaseAndWidth) {
    auto hex = [](std::ostream& os) { os << std::hex; };
    EXPECT_EQ(writtenWith(typeLabelled("int16"), owning(static_cast<short>(255)), hex), "ff");
    EXPECT_EQ(writtenWith(typeLabelled("uint16"), owning(static_cast<unsigned short>(0xBEEF)), hex),
              "beef");
    EXPECT_EQ(writtenWith(typeLabelled("int32"), owning(-1), hex), "ffffffff");
    EXPECT_EQ(writtenWith(typeLabelled("uint32"), owning(0xDEADBEEFU), hex), "deadbeef");
    EXPECT_EQ(writtenWith(typeLabelled("uint64"), owning(ULLONG_MAX), hex), "ffffffffffffffff");
    EXPECT_EQ(writtenWith(typeLabelled("int64"), owning(255LL),
                          [](std::ostream& os) { os << std::hex << std::showbase << std::uppercase; }),
              "0XFF");
    EXPECT_EQ(writtenWith(typeLabelled("int32"), owning(8), [](std::ostream& os) { os << std::oct; }),
              "10");
    EXPECT_EQ(writtenWith(typeLabelled("int32"), owning(42),
                          [](std::ostream& os) { os << std::setw(6) << std::setfill('0'); }),
              "000042");
    EXPECT_EQ(writtenWith(typeLabelled("int32"), owning(-42),
                          [](std::ostream& os) { os << std::internal << std::setw(6) << std::setfill('0'); }),
              "-00042");
    EXPECT_EQ(written(typeLabelled("int64"), owning(LLONG_MIN)), "-9223372036854775808");
    EXPECT_EQ(written(typeLabelled("uint64"), owning(ULLONG_MAX)), "18446744073709551615");

    Any value = owning(0);
    std::istringstream in("ff 1f");
    in >> std::hex;
    typeLabelled("int32").read(in, value);
    EXPECT_EQ(value.as<int>(), 255);
    typeLabelled("int32").read(in, value);
    EXPECT_EQ(value.as<int>(), 31);
}

TEST(BuiltinValueTypeText, AFailedReadOnlySetsTheStreamState) {
    const AnyType& type = typeLabelled("int32");
    Any value = owning(7);
    std::istringstream in("abc");
    EXPECT_NO_THROW(type.read(in, value));
    EXPECT_TRUE(in.fail());

    Any small = owning(static_cast<short>(0));
    std::istringstream tooLarge("70000");
    EXPECT_NO_THROW(typeLabelled("int16").read(tooLarge, small));
    EXPECT_TRUE(tooLarge.fail());

    Any real = owning(0.0);
    std::istringstream nothing("   ");
    EXPECT_NO_THROW(typeLabelled("double").read(nothing, real));
    EXPECT_TRUE(nothing.fail());
}

// --- signature feeds ----------------------------------------------------------------------------

TEST(BuiltinValueTypeSignature, SameBytesOfDifferentTypesFeedTheSame) {
    const Digest expected = digestOfBytes({0x05, 0x00, 0x00, 0x00});
    EXPECT_EQ(signatureOf(typeLabelled("int32"), owning(5)), expected);
    EXPECT_EQ(signatureOf(typeLabelled("uint32"), owning(5U)), expected);
    EXPECT_EQ(signatureOf(typeLabelled("float"), owning(7.0e-45F)), expected)
        << "the subnormal float whose bits are 5";
}

TEST(BuiltinValueTypeSignature, BytesAreFedInMemoryOrderWithNothingAdded) {
    EXPECT_EQ(signatureOf(typeLabelled("bool"), owning(true)), digestOfBytes({0x01}));
    EXPECT_EQ(signatureOf(typeLabelled("bool"), owning(false)), digestOfBytes({0x00}));
    EXPECT_EQ(signatureOf(typeLabelled("int16"), owning(static_cast<short>(0x0102))),
              digestOfBytes({0x02, 0x01}));
    EXPECT_EQ(signatureOf(typeLabelled("uint64"), owning(0x0102030405060708ULL)),
              digestOfBytes({0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01}));
    EXPECT_EQ(signatureOf(typeLabelled("double"), owning(1.0)),
              digestOfBytes({0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F}));
    EXPECT_EQ(signatureOf(typeLabelled("float"), owning(1.0F)), digestOfBytes({0x00, 0x00, 0x80, 0x3F}));
    EXPECT_EQ(signatureOf(typeLabelled("string"), owning(std::string("ab"))), digestOfBytes({'a', 'b'}));
    EXPECT_NE(signatureOf(typeLabelled("string"), owning(std::string("ab"))),
              digestOfBytes({'a', 'b', 0x00}))
        << "no terminator";
    EXPECT_EQ(signatureOf(typeLabelled("string"), owning(std::string("a\0b", 3))),
              digestOfBytes({'a', 0x00, 'b'}));
}

TEST(BuiltinValueTypeSignature, EmptyStringFeedsNothing) {
    const Digest emptyMessage = Engine().digest();
    EXPECT_EQ(signatureOf(typeLabelled("string"), owning(std::string())), emptyMessage);
    EXPECT_NE(signatureOf(typeLabelled("string"), owning(std::string(1, '\0'))), emptyMessage);
}

TEST(BuiltinValueTypeSignature, SignedZerosAreEqualButFeedDifferentBytes) {
    const AnyType& doubleType = typeLabelled("double");
    const Any plus = owning(0.0);
    const Any minus = owning(-0.0);
    EXPECT_TRUE(doubleType.equal(plus, minus));
    EXPECT_NE(signatureOf(doubleType, plus), signatureOf(doubleType, minus));
    EXPECT_EQ(signatureOf(doubleType, minus),
              digestOfBytes({0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80}));

    const AnyType& floatType = typeLabelled("float");
    EXPECT_TRUE(floatType.equal(owning(0.0F), owning(-0.0F)));
    EXPECT_NE(signatureOf(floatType, owning(0.0F)), signatureOf(floatType, owning(-0.0F)));
}

// --- equality -----------------------------------------------------------------------------------

TEST(BuiltinValueTypeEqual, NaNIsNotEqualToItself) {
    const Any doubleNaN = owning(std::numeric_limits<double>::quiet_NaN());
    const Any doubleCopy(doubleNaN);
    EXPECT_FALSE(typeLabelled("double").equal(doubleNaN, doubleCopy));
    EXPECT_FALSE(typeLabelled("double").equal(doubleNaN, doubleNaN));
    // A copy is still the same bits: only the comparison says unequal.
    EXPECT_EQ(signatureOf(typeLabelled("double"), doubleNaN),
              signatureOf(typeLabelled("double"), doubleCopy));

    const Any floatNaN = owning(std::numeric_limits<float>::quiet_NaN());
    EXPECT_FALSE(typeLabelled("float").equal(floatNaN, Any(floatNaN)));
}

TEST(BuiltinValueTypeEqual, StringsCompareLengthAndEveryByte) {
    const AnyType& type = typeLabelled("string");
    const Any withNul = owning(std::string("a\0b", 3));
    EXPECT_TRUE(type.equal(withNul, owning(std::string("a\0b", 3))));
    EXPECT_FALSE(type.equal(withNul, owning(std::string("a\0c", 3))));
    EXPECT_FALSE(type.equal(withNul, owning(std::string("a"))));
    EXPECT_FALSE(type.equal(withNul, owning(std::string("a\0b\0", 4))));
    EXPECT_TRUE(type.equal(owning(std::string()), owning(std::string())));
}

// --- a host's own value type --------------------------------------------------------------------

// A host type with a padding byte after `code`, stream operators and ==.
struct Swatch {
    char code = '?';
    int level = 0;
};

bool operator==(const Swatch& a, const Swatch& b) {
    return a.code == b.code && a.level == b.level;
}

std::ostream& operator<<(std::ostream& os, const Swatch& swatch) {
    return os << swatch.code << swatch.level;
}

std::istream& operator>>(std::istream& is, Swatch& swatch) {
    return is >> swatch.code >> swatch.level;
}

// A second host type that gets no casts before its type is made.
struct Badge {
    int number = 0;
};

bool operator==(const Badge& a, const Badge& b) {
    return a.number == b.number;
}

std::ostream& operator<<(std::ostream& os, const Badge& badge) {
    return os << badge.number;
}

std::istream& operator>>(std::istream& is, Badge& badge) {
    return is >> badge.number;
}

// A third one, only ever offered under labels or names that are taken.
struct Intruder {
    int value = 0;
};

bool operator==(const Intruder& a, const Intruder& b) {
    return a.value == b.value;
}

std::ostream& operator<<(std::ostream& os, const Intruder& intruder) {
    return os << intruder.value;
}

std::istream& operator>>(std::istream& is, Intruder& intruder) {
    return is >> intruder.value;
}

// Converts between a host's own type and a built-in one by a function of the test's.
template <class From, class To, void (*Rule)(const From&, To&)>
class RuleCast : public AnyCast {
public:
    RuleCast() : AnyCast(typeid(From), typeid(To)) {}
    void convert(const void* from, void* to) const override {
        Rule(*static_cast<const From*>(from), *static_cast<To*>(to));
    }
};

void intToSwatch(const int& from, Swatch& to) {
    to.code = '#';
    to.level = from;
}
void doubleToSwatch(const double& from, Swatch& to) {
    to.code = 'd';
    to.level = from < 0 ? -1 : 1;
}
void swatchToInt(const Swatch& from, int& to) {
    to = from.level;
}
void intToBadge(const int& from, Badge& to) {
    to.number = from;
}

// Registers the host types once: the cast into Swatch first, then the types.
const AnyType& swatchType() {
    static const AnyType* const type = [] {
        AnyTypeRegistry::addCast(new RuleCast<int, Swatch, intToSwatch>());
        const bool added = AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Swatch>("mytype-label"));
        EXPECT_TRUE(added);
        return AnyTypeRegistry::typeByLabel(TypeAtom("mytype-label"));
    }();
    if (type == nullptr) {
        throw std::logic_error("the host type did not register");
    }
    return *type;
}

const AnyType& badgeType() {
    static const AnyType* const type = [] {
        const bool added = AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Badge>("mytype-badge"));
        EXPECT_TRUE(added);
        return AnyTypeRegistry::typeByLabel(TypeAtom("mytype-badge"));
    }();
    if (type == nullptr) {
        throw std::logic_error("the host type did not register");
    }
    return *type;
}

TEST(HostValueType, RegistersUnderItsLabelAndHoldsValuesInAnAny) {
    const AnyType& type = swatchType();
    EXPECT_TRUE(type.typeInfo() == typeid(Swatch));
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(Swatch).name())), &type);

    Any original;
    original.set(Swatch{'R', 3});
    EXPECT_EQ(original.type(), &type);
    const Any copy(original);
    EXPECT_TRUE(type.equal(original, copy));
    EXPECT_EQ(copy.as<Swatch>(), (Swatch{'R', 3}));

    Any assigned;
    assigned.set(Swatch{'Q', 1});
    assigned = original;
    EXPECT_EQ(assigned.as<Swatch>(), (Swatch{'R', 3}));
    EXPECT_FALSE(type.equal(assigned, owning(Swatch{'R', 4})));
}

TEST(HostValueType, TakesAnIntThroughTheCastRegisteredBeforeIt) {
    swatchType();
    Any swatch;
    swatch.set(Swatch{'R', 3});
    swatch = owning(42);
    EXPECT_EQ(swatch.as<Swatch>(), (Swatch{'#', 42}));
    EXPECT_EQ(swatch.type(), &swatchType()) << "an assignment keeps the target's type";
}

TEST(HostValueType, WritesAndReadsThroughItsStreamOperators) {
    const AnyType& type = swatchType();
    EXPECT_EQ(written(type, owning(Swatch{'R', 3})), "R3");
    EXPECT_EQ(writtenWith(type, owning(Swatch{'R', 255}), [](std::ostream& os) { os << std::hex; }),
              "Rff");

    Any value = owning(Swatch{});
    std::istringstream in(" Z9 W-2");
    type.read(in, value);
    EXPECT_EQ(value.as<Swatch>(), (Swatch{'Z', 9}));
    type.read(in, value);
    EXPECT_EQ(value.as<Swatch>(), (Swatch{'W', -2}));

    std::istringstream bad("Zq");
    EXPECT_NO_THROW(type.read(bad, value));
    EXPECT_TRUE(bad.fail());
}

TEST(HostValueType, ValueSlotsBehaveAsForBuiltins) {
    const AnyType& type = swatchType();
    void* fresh = type.newValue();
    EXPECT_EQ(*static_cast<Swatch*>(fresh), Swatch{});
    const Swatch source{'k', 5};
    type.copyValue(&source, fresh);
    EXPECT_EQ(*static_cast<Swatch*>(fresh), source);
    type.deleteValue(fresh);
    EXPECT_NO_THROW(type.deleteValue(nullptr));

    // Swatch has a padding byte, so its feed is its text form, not its indeterminate bytes.
    EXPECT_EQ(signatureOf(type, owning(Swatch{'R', 3})), digestOfBytes({'R', '3'}));
    // Badge has no padding: it feeds its stored bytes.
    const AnyType& badge = badgeType();
    EXPECT_EQ(signatureOf(badge, owning(Badge{0x01020304})), digestOfBytes({4, 3, 2, 1}));
}

TEST(HostValueType, ACastIntoAnExistingTableIsSeenLater) {
    const AnyType& type = swatchType();
    AnyTypeRegistry::addCast(new RuleCast<double, Swatch, doubleToSwatch>());
    Any swatch = owning(Swatch{});
    swatch = owning(-2.5);
    EXPECT_EQ(swatch.as<Swatch>(), (Swatch{'d', -1}));
    EXPECT_EQ(swatch.type(), &type);
}

TEST(HostValueType, ACastInADirectionThatHadNoTableIsNeverSeen) {
    // Nothing converted out of Swatch when its type was made: a cast added afterwards is in the
    // registry but not in the type's tables.
    const AnyType& swatch = swatchType();
    AnyTypeRegistry::addCast(new RuleCast<Swatch, int, swatchToInt>());
    const AnyCastTable* fromSwatch = AnyTypeRegistry::fromCasts(TypeAtom(typeid(Swatch).name()));
    ASSERT_NE(fromSwatch, nullptr);
    EXPECT_EQ(fromSwatch->count(TypeAtom(typeid(int).name())), 1U);
    const Any value = owning(Swatch{'R', 3});
    ASSERT_EQ(value.type(), &swatch);
    EXPECT_THROW(value.as<int>(), AnyCastException);

    // Nothing converted into Badge when its type was made: castToMine never finds the new cast.
    const AnyType& badge = badgeType();
    AnyTypeRegistry::addCast(new RuleCast<int, Badge, intToBadge>());
    ASSERT_NE(AnyTypeRegistry::toCasts(TypeAtom(typeid(Badge).name())), nullptr);
    Any target = owning(Badge{11});
    ASSERT_EQ(target.type(), &badge);
    EXPECT_THROW(target = owning(5), AnyCastException);
    EXPECT_EQ(target.as<Badge>(), Badge{11}) << "a failed assignment leaves the target unchanged";
}

TEST(HostValueType, AddTypeRefusesATakenLabelOrHostType) {
    swatchType();
    const AnyType* int32 = AnyTypeRegistry::typeByLabel(TypeAtom("int32"));

    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Intruder>(TypeAtom("int32"))));
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Intruder>(TypeAtom("mytype-label"))));
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(TypeAtom("int32")), int32);
    EXPECT_TRUE(AnyTypeRegistry::typeByLabel(TypeAtom("int32"))->typeInfo() == typeid(int));
    EXPECT_TRUE(AnyTypeRegistry::typeByLabel(TypeAtom("mytype-label"))->typeInfo() == typeid(Swatch));
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(Intruder).name())), nullptr);

    // A second type for a host type that already has one is refused as well.
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Swatch>(TypeAtom("mytype-other"))));
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(TypeAtom("mytype-other")), nullptr);
}

} // namespace
