#ifndef TESSEL_DICTIONARY_TSANYTYPEREGISTRY_H
#define TESSEL_DICTIONARY_TSANYTYPEREGISTRY_H

/// @file
/// AnyTypeRegistry, the process-wide index of value types and casts, with the built-in ones
/// registered on first use; a host adds types and casts of its own here.
///
///     const AnyType* timebase = AnyTypeRegistry::typeByLabel("timebase");
///     Any rate;
///     rate.parseExact("29.97", *timebase);                    // 30000/1001
///     std::size_t conversions = AnyTypeRegistry::casts().size(); // 206 built in
///     AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Point>(TypeAtom("point")));

#include <dictionary/tsanytype.h>
#include <foundation/tsexport.h>

#include <map>
#include <vector>

namespace Tessel::Dictionary {

/// The process-wide index of value types (by label, by name and alias) and casts (by source and
/// by target name). Created on the first use of any static operation, which also registers the
/// built-in types and casts, once: threads that make their first use at the same time all wait for
/// it and then see every built-in type. Lookups may run concurrently, while addType/addCast
/// exclude all other use.
class TS_API AnyTypeRegistry {
public:
    /// An empty registry (no built-ins). The library itself only uses the process-wide one.
    AnyTypeRegistry();
    /// Deletes the types this registry holds (not the casts).
    ~AnyTypeRegistry();
    AnyTypeRegistry(const AnyTypeRegistry&) = delete;
    AnyTypeRegistry& operator=(const AnyTypeRegistry&) = delete;

    /// The process-wide registry, with all built-ins registered.
    static AnyTypeRegistry& get();
    /// Registers `type` and takes ownership in every case. False, after deleting `type`, when its
    /// name or label is taken. Aliases already taken are skipped.
    static bool addType(AnyType* type);
    /// Registers `cast` for its (source, target) pair, replacing an earlier one. Takes ownership.
    static bool addCast(AnyCast* cast);
    /// The type whose name or alias is `name`, or null.
    static AnyType* typeByName(const TypeAtom& name);
    /// The type registered under `label`, or null.
    static AnyType* typeByLabel(const TypeAtom& label);
    /// The casts from the host type `name`, keyed by target name; null if none was ever added.
    /// The table keeps its address for the life of the process.
    static const AnyCastTable* fromCasts(const TypeAtom& name);
    /// The casts to the host type `name`, keyed by source name; null if none was ever added.
    /// The table keeps its address for the life of the process.
    static const AnyCastTable* toCasts(const TypeAtom& name);
    /// Every registered cast, ordered by the atoms of its source and then its target name. Each
    /// says through AnyCast::kind() whether it may change a value, so a host can show which
    /// conversions may lose.
    static std::vector<const AnyCast*> casts();

private:
    std::map<TypeAtom, AnyCastTable> castsByTarget;
    std::map<TypeAtom, AnyCastTable> castsBySource;
    std::map<TypeAtom, AnyType*> typesByLabel;
    std::map<TypeAtom, AnyType*> typesByName;
};

} // namespace Tessel::Dictionary

#endif
