#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <typeinfo>

namespace {

using namespace Tessel::Dictionary;

// Exposes the protected parts of a descriptor to the tests.
struct DescriptorAccess : AnyType {
    using AnyType::getValuePointer;
};

// A type_info-like pair: two distinct objects with the same name text.
struct First {};
struct Second {};

// Reaches the protected name-atom manager of the type tag.
struct TypeTable : TypeAtom {
    static std::ptrdiff_t size() { return getManager().lastIndex(); }
};

const AnyType& int32() {
    return *AnyTypeRegistry::typeByLabel(gTypeLabelInt32);
}

TEST(AnyTypeDescriptor, NameLabelAndHostType) {
    const AnyType& type = int32();
    EXPECT_EQ(type.name(), TypeAtom(typeid(int).name()));
    EXPECT_EQ(type.label().getString(), "int32");
    EXPECT_EQ(type.typeInfo(), typeid(int));
    EXPECT_TRUE(type.matchesType(typeid(int)));
    EXPECT_FALSE(type.matchesType(typeid(long)));
    EXPECT_FALSE(type.matchesType(typeid(unsigned int)));
}

TEST(AnyTypeDescriptor, AliasesOnLp64) {
    const AnyType& int64 = *AnyTypeRegistry::typeByLabel(gTypeLabelInt64);
    ASSERT_EQ(int64.aliases().size(), 1U);
    EXPECT_EQ(int64.aliases()[0], TypeAtom(typeid(long).name()));
    EXPECT_FALSE(int64.matchesType(typeid(long)));
    EXPECT_TRUE(int64.isAnAlias(typeid(long)));
    EXPECT_TRUE(int64.supportsType(typeid(long)));
    EXPECT_TRUE(int64.supportsType(typeid(long long)));
    EXPECT_FALSE(int64.supportsType(typeid(unsigned long)));
    // 32-bit types have no same-width distinct alias here.
    EXPECT_TRUE(int32().aliases().empty());
    EXPECT_FALSE(int32().supportsType(typeid(long)));
}

TEST(AnyTypeDescriptor, NoAliasesMeansNoInterning) {
    const AnyType& type = int32(); // the registry's first use interns the built-in names
    const auto before = TypeTable::size();
    EXPECT_FALSE(type.isAnAlias(typeid(First)));
    EXPECT_FALSE(type.supportsType(typeid(Second)));
    EXPECT_EQ(TypeTable::size(), before);
}

TEST(AnyTypeDescriptor, MatchesByNameTextNotByTypeInfoObject) {
    // A type_info from "another module": a distinct object with the same name text.
    struct LookAlike : std::type_info {
        explicit LookAlike(const char* name) : std::type_info(name) {}
    };
    const LookAlike lookAlike(typeid(int).name());
    EXPECT_NE(static_cast<const void*>(&lookAlike), static_cast<const void*>(&typeid(int)));
    EXPECT_TRUE(int32().matchesType(lookAlike));
}

TEST(AnyTypeDescriptor, GetValuePointerGivesTheBoundVariable) {
    int variable = 1;
    Any bound{BindValue(variable)};
    EXPECT_EQ(DescriptorAccess::getValuePointer(bound), &variable);
    const Any& constBound = bound;
    EXPECT_EQ(DescriptorAccess::getValuePointer(constBound), &variable);
    Any empty;
    EXPECT_EQ(DescriptorAccess::getValuePointer(empty), nullptr);
    Any owning;
    owning.set(3);
    EXPECT_NE(DescriptorAccess::getValuePointer(owning), nullptr);
    EXPECT_EQ(*static_cast<const int*>(DescriptorAccess::getValuePointer(owning)), 3);
}

TEST(AnyTypeDescriptor, AliasAddedAfterRegistrationIsNotALookupKey) {
    struct LateAlias {};
    struct Host {
        int value = 0;
        bool operator==(const Host& other) const { return value == other.value; }
    };
    struct HostType : Impl::CopyTemplateAnyType<Host> {
        using Impl::CopyTemplateAnyType<Host>::CopyTemplateAnyType;
        void write(std::ostream&, const Any&) const override {}
        void read(std::istream&, Any&) const override {}
    };
    auto* hostType = new HostType("host-type-with-late-alias");
    ASSERT_TRUE(AnyTypeRegistry::addType(hostType));
    hostType->addAlias(TypeAtom(typeid(LateAlias).name()));
    EXPECT_TRUE(hostType->isAnAlias(typeid(LateAlias)));
    EXPECT_TRUE(hostType->supportsType(typeid(LateAlias)));
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(LateAlias).name())), nullptr);
    EXPECT_EQ(AnyTypeRegistry::typeByName(TypeAtom(typeid(Host).name())), hostType);
}

TEST(AnyCastDescriptor, NamesAndTypes) {
    const Impl::GenericAnyCast<short, double> cast;
    EXPECT_EQ(cast.fromTypeInfo(), typeid(short));
    EXPECT_EQ(cast.toTypeInfo(), typeid(double));
    EXPECT_EQ(cast.fromName(), TypeAtom(typeid(short).name()));
    EXPECT_EQ(cast.toName(), TypeAtom(typeid(double).name()));
}

} // namespace
