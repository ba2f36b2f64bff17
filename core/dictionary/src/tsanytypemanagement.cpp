// Type and cast descriptors, the type registry, cast dispatch, the built-in registration and the
// label constants of the built-in types.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>

#include "tsnestedvalues.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Tessel::Dictionary {

// --- label constants ----------------------------------------------------------------------------
// Defined in this order on purpose: they are interned during load in exactly this sequence.

const TypeAtom gTypeLabelBool("bool");
const TypeAtom gTypeLabelChar("char");
const TypeAtom gTypeLabelInt8("int8");
const TypeAtom gTypeLabelUnsignedInt8("uint8");
const TypeAtom gTypeLabelInt16("int16");
const TypeAtom gTypeLabelUnsignedInt16("uint16");
const TypeAtom gTypeLabelInt32("int32");
const TypeAtom gTypeLabelUnsignedInt32("uint32");
const TypeAtom gTypeLabelInt64("int64");
const TypeAtom gTypeLabelUnsignedInt64("uint64");
const TypeAtom gTypeLabelFloat("float");
const TypeAtom gTypeLabelDouble("double");
const TypeAtom gTypeLabelString("string");
const TypeAtom gTypeLabelDictionary("dictionary");
const TypeAtom gTypeLabelVector("vector");
const TypeAtom gTypeLabelTimeBase("timebase");

namespace {

using Base::ExceptionInfo;

// --- built-in registration ----------------------------------------------------------------------

template <class S, class... Targets>
void addCastsFrom() {
    (AnyTypeRegistry::addCast(new Impl::GenericAnyCast<S, Targets>()), ...);
}

// Every source row gets the fourteen targets in this fixed order.
template <class S>
void addMatrixRow() {
    addCastsFrom<S, bool, float, double, char, unsigned char, signed char, int, unsigned int, short,
                 unsigned short, long, unsigned long, long long, unsigned long long>();
}

template <class... Sources>
void addMatrix() {
    (addMatrixRow<Sources>(), ...);
}

// An integer type accepts a distinct host type of the same width as an alias: on LP64 `long` is
// an alias of "int64", and "int32" has none.
template <class Host, class Candidate>
void addAliasIfSameWidth(AnyType& type) {
    if constexpr (sizeof(Candidate) == sizeof(Host) && !std::is_same_v<Candidate, Host>) {
        type.addAlias(TypeAtom(typeid(Candidate).name()));
    }
}

template <class Host>
void addIntegerAliases(AnyType& type) {
    if constexpr (sizeof(Host) == 4) {
        if constexpr (std::is_signed_v<Host>) {
            addAliasIfSameWidth<Host, int>(type);
            addAliasIfSameWidth<Host, long>(type);
        } else {
            addAliasIfSameWidth<Host, unsigned int>(type);
            addAliasIfSameWidth<Host, unsigned long>(type);
        }
    } else if constexpr (sizeof(Host) == 8) {
        if constexpr (std::is_signed_v<Host>) {
            addAliasIfSameWidth<Host, long>(type);
            addAliasIfSameWidth<Host, long long>(type);
        } else {
            addAliasIfSameWidth<Host, unsigned long>(type);
            addAliasIfSameWidth<Host, unsigned long long>(type);
        }
    }
}

template <class TypeClass>
void addBuiltinType(const TypeAtom& label) {
    AnyTypeRegistry::addType(new TypeClass(label));
}

template <class Host>
void addIntegerType(const TypeAtom& label) {
    auto* type = new Impl::TemplatedAnyType<Host>(label);
    try {
        addIntegerAliases<Host>(*type);
    } catch (...) {
        delete type;
        throw;
    }
    AnyTypeRegistry::addType(type);
}

// Runs once, right after the registry instance exists: all 206 casts first (the numeric matrix, the
// time-base casts, the C-string cast), so that each of the sixteen types finds its cast tables when
// it is constructed.
void registerBuiltins() {
    using Impl::TemplatedAnyType;

    addMatrix<bool, char, unsigned char, signed char, short, unsigned short, int, unsigned int, long,
              unsigned long, long long, unsigned long long, float, double>();
    addCastsFrom<Base::TimeBase, bool, int, unsigned int, float, double>();
    AnyTypeRegistry::addCast(new Impl::IntegralToTimeBaseCast<int>());
    AnyTypeRegistry::addCast(new Impl::IntegralToTimeBaseCast<unsigned int>());
    AnyTypeRegistry::addCast(new Impl::FloatToTimeBaseCast<float>());
    AnyTypeRegistry::addCast(new Impl::FloatToTimeBaseCast<double>());
    AnyTypeRegistry::addCast(new Impl::GenericAnyCast<char*, std::string>());

    addBuiltinType<TemplatedAnyType<bool>>(gTypeLabelBool);
    addBuiltinType<TemplatedAnyType<char>>(gTypeLabelChar);
    addBuiltinType<TemplatedAnyType<signed char>>(gTypeLabelInt8);
    addBuiltinType<TemplatedAnyType<unsigned char>>(gTypeLabelUnsignedInt8);
    addBuiltinType<TemplatedAnyType<short>>(gTypeLabelInt16);
    addBuiltinType<TemplatedAnyType<unsigned short>>(gTypeLabelUnsignedInt16);
    addBuiltinType<TemplatedAnyType<float>>(gTypeLabelFloat);
    addBuiltinType<TemplatedAnyType<double>>(gTypeLabelDouble);
    addBuiltinType<TemplatedAnyType<std::string>>(gTypeLabelString);
    addIntegerType<int>(gTypeLabelInt32);
    addIntegerType<unsigned int>(gTypeLabelUnsignedInt32);
    addIntegerType<long long>(gTypeLabelInt64);
    addIntegerType<unsigned long long>(gTypeLabelUnsignedInt64);
    addBuiltinType<Impl::DictionaryType>(gTypeLabelDictionary);
    addBuiltinType<Impl::VectorType>(gTypeLabelVector);
    addBuiltinType<Impl::TimeBaseType>(gTypeLabelTimeBase);
}

// The process-wide instance, published only once the built-ins are in it: every thread that sees
// the pointer sees all of them.
std::atomic<AnyTypeRegistry*> gRegistry{nullptr};
// The instance while the built-in registration fills it, for the registration's own calls on the
// creating thread (addCast, addType and the AnyType constructors all come back to instance()).
thread_local AnyTypeRegistry* tBeingFilled = nullptr;
// Makes the first use happen once when several threads start at the same moment. Constant-
// initialised, so it is ready for a first use from any static initialiser.
std::mutex gCreation;

// The first use: makes the instance, registers the built-ins, then publishes it. If the
// registration fails (out of memory), nothing is published and the next use starts over.
AnyTypeRegistry& createInstance() {
    if (tBeingFilled != nullptr) {
        return *tBeingFilled;
    }
    const std::lock_guard<std::mutex> lock(gCreation);
    if (AnyTypeRegistry* created = gRegistry.load(std::memory_order_acquire)) {
        return *created; // another thread was first
    }
    auto registry = std::make_unique<AnyTypeRegistry>();
    tBeingFilled = registry.get();
    try {
        registerBuiltins();
        Impl::NestedValues::noteContainerTypes(AnyTypeRegistry::typeByLabel(gTypeLabelDictionary),
                                               AnyTypeRegistry::typeByLabel(gTypeLabelVector));
    } catch (...) {
        tBeingFilled = nullptr;
        throw;
    }
    tBeingFilled = nullptr;
    AnyTypeRegistry* const created = registry.release();
    gRegistry.store(created, std::memory_order_release);
    return *created;
}

// The process-wide instance, created and filled with the built-ins on first use.
AnyTypeRegistry& instance() {
    if (AnyTypeRegistry* registry = gRegistry.load(std::memory_order_acquire)) {
        return *registry;
    }
    return createInstance();
}

const AnyCastTable* findTable(const std::map<TypeAtom, AnyCastTable>& tables, const TypeAtom& name) {
    auto found = tables.find(name);
    return found == tables.end() ? nullptr : &found->second;
}

AnyType* findType(const std::map<TypeAtom, AnyType*>& types, const TypeAtom& key) {
    auto found = types.find(key);
    return found == types.end() ? nullptr : found->second;
}

const AnyCast* findCast(const AnyCastTable* table, const TypeAtom& key) {
    if (table == nullptr) {
        return nullptr;
    }
    auto found = table->find(key);
    return found == table->end() ? nullptr : found->second;
}

} // namespace

// --- AnyType ------------------------------------------------------------------------------------

AnyType::AnyType(const std::type_info& hostType, const TypeAtom& label)
    : mHostType(&hostType), mName(hostType.name()), mLabel(label) {
    instance();
    mCastsFrom = AnyTypeRegistry::fromCasts(mName);
    mCastsTo = AnyTypeRegistry::toCasts(mName);
}

AnyType::~AnyType() = default;

void AnyType::addAlias(const TypeAtom& alias) {
    mAliases.push_back(alias);
}

bool AnyType::isListedAlias(const std::type_info& t) const {
    const TypeAtom name(t.name());
    return std::find(mAliases.begin(), mAliases.end(), name) != mAliases.end();
}

void* AnyType::getValuePointer(Any& any) noexcept {
    return any.mValue;
}

const void* AnyType::getValuePointer(const Any& any) noexcept {
    return any.mValue;
}

void AnyType::castToMine(Any& dst, const void* src, const TypeAtom& srcName) const {
    if (const AnyCast* cast = findCast(mCastsTo, srcName)) {
        cast->convert(src, getValuePointer(dst));
        return;
    }
    const ExceptionInfo<std::string> from("FromType", Base::readableTypeName(srcName.getString()));
    const ExceptionInfo<std::string> to("ToType", Base::readableTypeName(dst.type()->name().getString()));
    // One line, so that every compiler records the same "ThrowLine".
    TS_THROW(AnyCastException, "Tessel::Dictionary::AnyType::castToMine", from, to);
}

void AnyType::castFromMine(const Any& src, void* dst, const TypeAtom& dstName) const {
    if (const AnyCast* cast = findCast(mCastsFrom, dstName)) {
        cast->convert(getValuePointer(src), dst);
        return;
    }
    const ExceptionInfo<std::string> from("FromType", Base::readableTypeName(src.type()->name().getString()));
    const ExceptionInfo<std::string> to("ToType", Base::readableTypeName(dstName.getString()));
    TS_THROW(AnyCastException, "Tessel::Dictionary::AnyType::castFromMine", from, to);
}

// --- AnyCast ------------------------------------------------------------------------------------

AnyCast::AnyCast(const std::type_info& from, const std::type_info& to)
    : mFrom(&from), mFromName(from.name()), mTo(&to), mToName(to.name()) {}

AnyCast::~AnyCast() = default;

// --- AnyTypeRegistry ----------------------------------------------------------------------------

AnyTypeRegistry::AnyTypeRegistry() = default;

AnyTypeRegistry::~AnyTypeRegistry() {
    for (auto& entry : typesByLabel) {
        delete entry.second;
    }
}

AnyTypeRegistry& AnyTypeRegistry::get() {
    return instance();
}

bool AnyTypeRegistry::addType(AnyType* type) {
    if (type == nullptr) {
        return false;
    }
    AnyTypeRegistry& registry = instance();
    if (findType(registry.typesByName, type->name()) != nullptr ||
        findType(registry.typesByLabel, type->label()) != nullptr) {
        delete type;
        return false;
    }
    // Enter the type under its label and name together: if either insertion fails, neither
    // stays and the type, which we own from the call on, is deleted.
    auto byLabel = registry.typesByLabel.end();
    try {
        byLabel = registry.typesByLabel.emplace(type->label(), type).first;
        registry.typesByName[type->name()] = type;
    } catch (...) {
        if (byLabel != registry.typesByLabel.end()) {
            registry.typesByLabel.erase(byLabel);
        }
        delete type;
        throw;
    }
    // An alias is entered only while free; a bad_alloc here leaves the type registered with the
    // aliases entered so far.
    for (const TypeAtom& alias : type->aliases()) {
        if (findType(registry.typesByName, alias) == nullptr) {
            registry.typesByName[alias] = type;
        }
    }
    return true;
}

bool AnyTypeRegistry::addCast(AnyCast* cast) {
    if (cast == nullptr) {
        return false;
    }
    AnyTypeRegistry& registry = instance();
    // Both slots are made before either is set, so the two indexes never disagree. A slot left
    // null by a failed allocation reads as "no cast".
    try {
        AnyCast*& bySource = registry.castsBySource[cast->fromName()][cast->toName()];
        AnyCast*& byTarget = registry.castsByTarget[cast->toName()][cast->fromName()];
        bySource = cast;
        byTarget = cast;
    } catch (...) {
        delete cast;
        throw;
    }
    return true;
}

AnyType* AnyTypeRegistry::typeByName(const TypeAtom& name) {
    return findType(instance().typesByName, name);
}

AnyType* AnyTypeRegistry::typeByLabel(const TypeAtom& label) {
    return findType(instance().typesByLabel, label);
}

const AnyCastTable* AnyTypeRegistry::fromCasts(const TypeAtom& name) {
    return findTable(instance().castsBySource, name);
}

const AnyCastTable* AnyTypeRegistry::toCasts(const TypeAtom& name) {
    return findTable(instance().castsByTarget, name);
}

} // namespace Tessel::Dictionary
