#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tstypelabels.h>

#include <foundation/tstimebase.h>

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

namespace {

using namespace Tessel::Dictionary;

template <class T>
TypeAtom nameOf() {
    return TypeAtom(typeid(T).name());
}

// Counts destructions, to observe that a rejected type is deleted.
int gProbeDestructions = 0;

template <class Host>
struct ProbeType : Impl::TemplatedAnyType<Host> {
    using Impl::TemplatedAnyType<Host>::TemplatedAnyType;
    ~ProbeType() override { ++gProbeDestructions; }
};

struct ProbeCast : AnyCast {
    ProbeCast(const std::type_info& from, const std::type_info& to, int tag)
        : AnyCast(from, to), tag(tag) {}
    void convert(const void*, void* to) const override { *static_cast<int*>(to) = tag; }
    int tag;
};

struct RegistryHostA {
    int value = 0;
    bool operator==(const RegistryHostA& other) const { return value == other.value; }
};
std::ostream& operator<<(std::ostream& os, const RegistryHostA& a) { return os << a.value; }
std::istream& operator>>(std::istream& is, RegistryHostA& a) { return is >> a.value; }

TEST(AnyTypeRegistry, BuiltinsExistWithoutInitialisation) {
    const AnyType* boolean = AnyTypeRegistry::typeByLabel(gTypeLabelBool);
    ASSERT_NE(boolean, nullptr);
    EXPECT_EQ(boolean->typeInfo(), typeid(bool));
    EXPECT_EQ(&AnyTypeRegistry::get(), &AnyTypeRegistry::get());
}

TEST(AnyTypeRegistry, ScalarLabelsAndHostTypes) {
    struct Row {
        const TypeAtom& label;
        const char* text;
        const std::type_info& host;
    };
    const std::vector<Row> rows = {
        {gTypeLabelBool, "bool", typeid(bool)},
        {gTypeLabelChar, "char", typeid(char)},
        {gTypeLabelInt8, "int8", typeid(signed char)},
        {gTypeLabelUnsignedInt8, "uint8", typeid(unsigned char)},
        {gTypeLabelInt16, "int16", typeid(short)},
        {gTypeLabelUnsignedInt16, "uint16", typeid(unsigned short)},
        {gTypeLabelInt32, "int32", typeid(int)},
        {gTypeLabelUnsignedInt32, "uint32", typeid(unsigned int)},
        {gTypeLabelInt64, "int64", typeid(long long)},
        {gTypeLabelUnsignedInt64, "uint64", typeid(unsigned long long)},
        {gTypeLabelFloat, "float", typeid(float)},
        {gTypeLabelDouble, "double", typeid(double)},
        {gTypeLabelString, "string", typeid(std::string)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(row.label.getString(), row.text);
        const AnyType* type = AnyTypeRegistry::typeByLabel(row.label);
        ASSERT_NE(type, nullptr);
        EXPECT_EQ(type->label(), row.label);
        EXPECT_EQ(type->typeInfo(), row.host);
        EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(row.host.name())), type);
    }
}

TEST(AnyTypeRegistry, ContainerAndTimeBaseTypes) {
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(gTypeLabelDictionary)->typeInfo(), typeid(Dictionary));
    EXPECT_EQ(AnyTypeRegistry::typeByLabel(gTypeLabelVector)->typeInfo(), typeid(std::vector<Any>));
    const AnyType* timeBase = AnyTypeRegistry::typeByLabel(gTypeLabelTimeBase);
    ASSERT_NE(timeBase, nullptr);
    EXPECT_EQ(timeBase->typeInfo(), typeid(Tessel::Base::TimeBase));
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<Tessel::Base::TimeBase>()), timeBase);
    EXPECT_FALSE(AnyTypeRegistry::addType(new Impl::TimeBaseType(gTypeLabelTimeBase)));
}

TEST(AnyTypeRegistry, LabelConstants) {
    EXPECT_EQ(gTypeLabelUnsignedInt16.getString(), "uint16");
    EXPECT_EQ(TypeAtom("string"), gTypeLabelString);
    EXPECT_NE(TypeAtom("String"), gTypeLabelString);
    EXPECT_TRUE(gTypeLabelBool < gTypeLabelTimeBase);
    EXPECT_EQ(gTypeLabelDictionary.getString(), "dictionary");
    EXPECT_EQ(gTypeLabelVector.getString(), "vector");
    EXPECT_EQ(gTypeLabelTimeBase.getString(), "timebase");
}

TEST(AnyTypeRegistry, AliasesFindTheirType) {
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<long>()), AnyTypeRegistry::typeByName(nameOf<long long>()));
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<unsigned long>()),
              AnyTypeRegistry::typeByLabel(gTypeLabelUnsignedInt64));
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<RegistryHostA*>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::typeByLabel("no-such-label"), nullptr);
}

TEST(AnyTypeRegistry, BuiltinCastTableSizes) {
    ASSERT_NE(AnyTypeRegistry::fromCasts(nameOf<long>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<long>())->size(), 14U);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<unsigned long>())->size(), 14U);
    // int and unsigned int also convert to and from TimeBase.
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<int>())->size(), 15U);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<int>())->size(), 15U);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<unsigned int>())->size(), 15U);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<short>())->size(), 14U);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<bool>())->size(), 15U);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<Tessel::Base::TimeBase>())->size(), 4U);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<Tessel::Base::TimeBase>())->size(), 5U);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<Dictionary>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<Dictionary>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<std::vector<Any>>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<std::vector<Any>>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<std::string>()), nullptr);
    const AnyCastTable* intoString = AnyTypeRegistry::toCasts(nameOf<std::string>());
    ASSERT_NE(intoString, nullptr);
    ASSERT_EQ(intoString->size(), 1U);
    EXPECT_EQ(intoString->begin()->first, nameOf<char*>());
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<char*>())->size(), 1U);
}

TEST(AnyTypeRegistry, RejectsTakenLabelOrNameAndDeletes) {
    const int before = gProbeDestructions;
    EXPECT_FALSE(AnyTypeRegistry::addType(new ProbeType<RegistryHostA>(gTypeLabelInt32)));
    EXPECT_EQ(gProbeDestructions, before + 1);
    // `long` is already a name in the index (an alias of "int64").
    EXPECT_FALSE(AnyTypeRegistry::addType(new ProbeType<long>("fresh-label-for-long")));
    EXPECT_EQ(gProbeDestructions, before + 2);
    EXPECT_EQ(AnyTypeRegistry::typeByLabel("fresh-label-for-long"), nullptr);
    EXPECT_FALSE(AnyTypeRegistry::addType(nullptr));
}

TEST(AnyTypeRegistry, TakenAliasIsSkippedTypeStillRegistered) {
    struct HostB {
        int value = 0;
        bool operator==(const HostB& other) const { return value == other.value; }
    };
    struct HostBType : Impl::CopyTemplateAnyType<HostB> {
        using Impl::CopyTemplateAnyType<HostB>::CopyTemplateAnyType;
        void write(std::ostream&, const Any&) const override {}
        void read(std::istream&, Any&) const override {}
    };
    auto* type = new HostBType("host-b");
    type->addAlias(nameOf<long>()); // taken by "int64"
    type->addAlias(nameOf<HostB*>());
    ASSERT_TRUE(AnyTypeRegistry::addType(type));
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<long>()), AnyTypeRegistry::typeByLabel(gTypeLabelInt64));
    EXPECT_EQ(AnyTypeRegistry::typeByName(nameOf<HostB*>()), type);
    EXPECT_EQ(AnyTypeRegistry::typeByLabel("host-b"), type);
}

TEST(AnyTypeRegistry, CastTablesAppearOnceAndKeepTheirAddress) {
    struct Src {};
    struct Dst1 {};
    struct Dst2 {};
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<Src>()), nullptr);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<Dst1>()), nullptr);
    EXPECT_TRUE(AnyTypeRegistry::addCast(new ProbeCast(typeid(Src), typeid(Dst1), 1)));
    const AnyCastTable* table = AnyTypeRegistry::fromCasts(nameOf<Src>());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->size(), 1U);
    AnyTypeRegistry::addCast(new ProbeCast(typeid(Src), typeid(Dst2), 2));
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<Src>()), table);
    EXPECT_EQ(table->size(), 2U);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<Dst2>())->size(), 1U);
}

TEST(AnyTypeRegistry, SecondCastForAPairReplacesTheFirstInBothIndexes) {
    struct P {};
    struct Q {};
    auto* first = new ProbeCast(typeid(P), typeid(Q), 1);
    auto* second = new ProbeCast(typeid(P), typeid(Q), 2);
    AnyTypeRegistry::addCast(first);
    EXPECT_TRUE(AnyTypeRegistry::addCast(second));
    EXPECT_EQ(AnyTypeRegistry::fromCasts(nameOf<P>())->at(nameOf<Q>()), second);
    EXPECT_EQ(AnyTypeRegistry::toCasts(nameOf<Q>())->at(nameOf<P>()), second);
    delete first; // a replaced cast is not deleted by the registry
}

TEST(AnyTypeRegistry, ReplacingABuiltinCastIsSeenByExistingTypes) {
    // The int32 type holds the registry's table for casts into `int`, so a replacement shows.
    struct ShortToIntCast : AnyCast {
        ShortToIntCast() : AnyCast(typeid(short), typeid(int)) {}
        void convert(const void* from, void* to) const override {
            *static_cast<int*>(to) = *static_cast<const short*>(from) * 100;
        }
    };
    Any target;
    target.set(0);
    Any source;
    source.set(static_cast<short>(3));
    target = source;
    EXPECT_EQ(target.as<int>(), 3);
    const AnyCast* original = AnyTypeRegistry::toCasts(nameOf<int>())->at(nameOf<short>());
    auto* replacement = new ShortToIntCast();
    AnyTypeRegistry::addCast(replacement);
    target = source;
    EXPECT_EQ(target.as<int>(), 300);
    // Put the built-in back for the other tests of this process.
    AnyTypeRegistry::addCast(const_cast<AnyCast*>(original));
    delete replacement;
    target = source;
    EXPECT_EQ(target.as<int>(), 3);
}

TEST(AnyTypeRegistry, TypeBuiltBeforeItsFirstCastNeverSeesIt) {
    struct Late {
        int value = 0;
        bool operator==(const Late& other) const { return value == other.value; }
    };
    struct LateType : Impl::CopyTemplateAnyType<Late> {
        using Impl::CopyTemplateAnyType<Late>::CopyTemplateAnyType;
        void write(std::ostream&, const Any&) const override {}
        void read(std::istream&, Any&) const override {}
    };
    auto* type = new LateType("late-type");
    ASSERT_TRUE(AnyTypeRegistry::addType(type));
    AnyTypeRegistry::addCast(new ProbeCast(typeid(int), typeid(Late), 7));
    Any late;
    late.set(Late{});
    Any number;
    number.set(1);
    EXPECT_THROW(late = number, AnyCastException);
}

} // namespace
