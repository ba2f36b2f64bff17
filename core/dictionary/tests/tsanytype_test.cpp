// Type and cast descriptors, the registry, cast dispatch and the built-in registration: the one
// place that pins which label names which host type and which casts exist.

#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>

#include "tstestsupport.h"

#include <istream>
#include <ostream>

namespace {

using namespace Tessel::Dictionary;
using namespace Tessel::Dictionary::Testing;
using Tessel::Base::TimeBase;

template <class T>
TypeAtom nameOf() {
    return TypeAtom(typeid(T).name());
}

TEST(AnyTypeRegistry, EveryLabelNamesItsHostType) {
    struct Row { const TypeAtom& label; const char* text; const std::type_info& host; } const rows[] = {
        {gTypeLabelBool, "bool", typeid(bool)},           {gTypeLabelChar, "char", typeid(char)},
        {gTypeLabelInt8, "int8", typeid(signed char)},    {gTypeLabelUnsignedInt8, "uint8", typeid(unsigned char)},
        {gTypeLabelInt16, "int16", typeid(short)},        {gTypeLabelUnsignedInt16, "uint16", typeid(unsigned short)},
        {gTypeLabelInt32, "int32", typeid(int)},          {gTypeLabelUnsignedInt32, "uint32", typeid(unsigned int)},
        {gTypeLabelInt64, "int64", typeid(long long)},  {gTypeLabelUnsignedInt64, "uint64", typeid(unsigned long long)},
        {gTypeLabelFloat, "float", typeid(float)},        {gTypeLabelDouble, "double", typeid(double)},
        {gTypeLabelString, "string", typeid(std::string)}, {gTypeLabelDictionary, "dictionary", typeid(Dictionary)},
        {gTypeLabelVector, "vector", typeid(std::vector<Any>)}, {gTypeLabelTimeBase, "timebase", typeid(TimeBase)},
    };
    for (const Row& row : rows) {
        const AnyType* type = AnyTypeRegistry::typeByLabel(row.label);
        ASSERT_NE(type, nullptr) << row.text;
        EXPECT_TRUE(row.label.getString() == row.text && type->label() == row.label && type->typeInfo() == row.host &&
                    AnyTypeRegistry::typeByName(TypeAtom(row.host.name())) == type)
            << row.text;
    }
    // LP64: long and unsigned long are distinct 64-bit types, aliases of "int64" and "uint64".
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<long>()), &typeLabelled("int64"));
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<unsigned long>()), &typeLabelled("uint64"));
    EXPECT_TRUE(typeLabelled("int32").aliases().empty() && typeLabelled("uint32").aliases().empty());
}

TEST(AnyTypeRegistry, EveryBuiltinCastIsInBothIndexes) {
    const auto size = [](const AnyCastTable* table) { return table == nullptr ? -1 : static_cast<int>(table->size()); };
    // from, to: the number of casts from and to the host type; -1: no table at all
    struct Row { const char* host; TypeAtom name; int from, to; } const rows[] = {
        {"bool", nameOf<bool>(), 14, 15},          {"int", nameOf<int>(), 15, 15},
        {"long", nameOf<long>(), 14, 14},          {"TimeBase", nameOf<TimeBase>(), 5, 4},
        {"string", nameOf<std::string>(), -1, 1},  {"char*", nameOf<char*>(), 1, -1},
        {"Dictionary", nameOf<Dictionary>(), -1, -1}, {"vector", nameOf<std::vector<Any>>(), -1, -1},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(size(AnyTypeRegistry::fromCasts(row.name)), row.from) << row.host;
        EXPECT_EQ(size(AnyTypeRegistry::toCasts(row.name)), row.to) << row.host;
    }
    const std::type_info* numeric[] = {&typeid(bool), &typeid(char), &typeid(unsigned char), &typeid(signed char),
                                       &typeid(short), &typeid(unsigned short), &typeid(int), &typeid(unsigned int),
                                       &typeid(long), &typeid(unsigned long), &typeid(long long),
                                       &typeid(unsigned long long), &typeid(float), &typeid(double)};
    for (const std::type_info* from : numeric) {
        for (const std::type_info* to : numeric) {
            const TypeAtom source(from->name()), target(to->name());
            ASSERT_EQ(AnyTypeRegistry::fromCasts(source)->count(target), 1U) << from->name() << " to " << to->name();
            const AnyCast* cast = AnyTypeRegistry::fromCasts(source)->at(target);
            EXPECT_TRUE(AnyTypeRegistry::toCasts(target)->at(source) == cast && cast->fromTypeInfo() == *from &&
                        cast->toTypeInfo() == *to && cast->fromName() == source && cast->toName() == target);
        }
    }
}

TEST(AnyType, DescriptorsMatchTypesByNameTextAndAlias) {
    const AnyType& int64 = typeLabelled("int64");
    EXPECT_TRUE(int64.matchesType(typeid(long long)) && !int64.matchesType(typeid(long)));
    EXPECT_TRUE(int64.isAnAlias(typeid(long)) && int64.supportsType(typeid(long)) && !int64.isAnAlias(typeid(int)));
    struct LookAlike : std::type_info {
        explicit LookAlike(const char* name) : std::type_info(name) {}
    };
    EXPECT_TRUE(typeLabelled("int32").matchesType(LookAlike(typeid(int).name()))) << "another module's type_info";
}

// A host value type of its own, with a padding byte after `code`.
struct Swatch {
    char code = '?';
    int level = 0;
    bool operator==(const Swatch& other) const { return code == other.code && level == other.level; }
    friend std::ostream& operator<<(std::ostream& os, const Swatch& s) { return os << s.code << s.level; }
    friend std::istream& operator>>(std::istream& is, Swatch& s) {
        if (is >> s.code && s.code == '!') {
            is.setstate(std::ios_base::badbit); // text this type refuses, reported as an extraction may
            return is;
        }
        return is >> s.level;
    }
};

// A cast that stores its tag, so that the test sees which of several casts ran.
template <class From, class To>
struct TagCast : AnyCast {
    explicit TagCast(int tag) : AnyCast(typeid(From), typeid(To)), tag(tag) {}
    void convert(const void*, void* to) const override { store(*static_cast<To*>(to)); }
    void store(Swatch& target) const { target.level = tag; }
    void store(int& target) const { target = tag; }
    int tag;
};

TEST(AnyTypeRegistry, HostTypesRegisterLikeBuiltinsWithTheirCastsFirst) {
    auto* first = new TagCast<int, Swatch>(1);
    AnyTypeRegistry::addCast(first);
    auto* swatch = new Impl::TemplatedAnyType<Swatch>(TypeAtom("test.swatch"));
    swatch->addAlias(nameOf<long>()); // taken by "int64": skipped
    swatch->addAlias(nameOf<Swatch*>());
    ASSERT_TRUE(AnyTypeRegistry::addType(swatch));
    EXPECT_TRUE(AnyTypeRegistry::typeByName(nameOf<Swatch*>()) == swatch &&
                AnyTypeRegistry::typeByName(nameOf<long>()) == &typeLabelled("int64"));

    Any value = holding(Swatch{'R', 3});
    EXPECT_EQ(show(value) + show(Any(value)), "test.swatch:R3test.swatch:R3");
    EXPECT_EQ(attempt([&] { value.parse("!", *swatch); }), "ok") << "parse does not report text the type refuses";
    value.parse("Q9", *swatch);
    EXPECT_EQ(signatureOf(value), digestOf("Q9")) << "a type with padding feeds its text form";
    AnyTypeRegistry::addCast(new TagCast<int, Swatch>(2)); // replaces the first in both indexes,
    delete first;                                          // which the registry no longer owns
    AnyTypeRegistry::addCast(new TagCast<short, Swatch>(3)); // into a table the type already holds
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<int>())->at(nameOf<Swatch>()),
              AnyTypeRegistry::toCasts(nameOf<Swatch>())->at(nameOf<int>()));
    value = holding(7);
    const int replaced = value.ref<Swatch>().level;
    value = holding(short{7});
    EXPECT_EQ(std::to_string(replaced) + std::to_string(value.ref<Swatch>().level), "23");
    // Nothing converted out of Swatch when its type was made: a cast added later is never found.
    AnyTypeRegistry::addCast(new TagCast<Swatch, int>(4));
    EXPECT_EQ(attempt([&] { value.as<int>(); }), "AnyCastException");

    // A rejected type is deleted at once (the asan run's leak check sees it if not).
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::DictionaryType(TypeAtom("test.other")))) << "a taken name";
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::VectorType(TypeAtom("test.other")))) << "a taken name";
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TimeBaseType(gTypeLabelTimeBase))) << "a taken label";
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TemplatedAnyType<long>(TypeAtom("test.long")))) << "a taken alias";
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TemplatedAnyType<long double>(gTypeLabelInt32))) << "a taken label";
    EXPECT_FALSE(AnyTypeRegistry::addType(nullptr) || AnyTypeRegistry::addCast(nullptr));
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(TypeAtom("test.long")), nullptr);
}

} // namespace
