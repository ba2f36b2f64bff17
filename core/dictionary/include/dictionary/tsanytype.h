#ifndef TESSEL_DICTIONARY_TSANYTYPE_H
#define TESSEL_DICTIONARY_TSANYTYPE_H

/// @file
/// The descriptors of the type system: AnyType describes one value type (host type, label,
/// aliases and the operations on its values), AnyCast one conversion between two host types.
///
///     const AnyType* int32 = AnyTypeRegistry::typeByLabel(gTypeLabelInt32);
///     std::cout << int32->label() << ' ' << int32->name();   // "int32 i": label, type_info name
///     Any value = 1920;
///     bool same = value.type() == int32;                     // true: one object per value type
///     for (const AnyCast* cast : AnyTypeRegistry::casts()) { /* cast->kind(): Exact or Checked */ }

#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsnoncopyable.h>

#include <cstring>
#include <iosfwd>
#include <map>
#include <typeinfo>
#include <vector>

namespace Tessel::Base::SkeinHash {
class Engine;
} // namespace Tessel::Base::SkeinHash

namespace Tessel::Dictionary {

class Any;
class AnyCast;
class AnyType;

/// Name of a host type (its interned type_info::name() text) or a type label.
using TypeAtom = Base::NameAtom<AnyType>;
/// A cast table of the registry: other type's name -> cast.
using AnyCastTable = std::map<TypeAtom, AnyCast*>;

/// Whether a cast keeps every value it converts.
enum class CastKind : unsigned char {
    /// Every source value arrives unchanged (int8 to int32, float to double).
    Exact,
    /// Some source values are changed on the way: out of range, a fraction dropped, rounded.
    Checked,
};

/// Describes one value type that an Any can hold: its host type, name, label and aliases, and
/// the operations on its values. Objects are created with new and handed to
/// AnyTypeRegistry::addType, which owns them. Immutable once registered.
///
/// A derived class implements the seven value slots. Casts into and out of this type are found
/// in the two cast tables taken from the registry when the object is constructed, so casts for a
/// new type must be registered before the type is constructed.
class TS_API AnyType : private Base::NonCopyable {
public:
    /// Describes `hostType` under `label`; takes this type's cast tables from the registry
    /// (creating the registry and its built-ins on first use).
    AnyType(const std::type_info& hostType, const TypeAtom& label);
    virtual ~AnyType();

    /// Writes the value held by `any` (which holds this type) to `os` as text.
    virtual void write(std::ostream& os, const Any& any) const = 0;
    /// Reads text from `is` into the value held by `any` (which holds this type).
    virtual void read(std::istream& is, Any& any) const = 0;
    /// Allocates one value of the host type; the caller fills it at once.
    virtual void* newValue() const = 0;
    /// Destroys and frees a value returned by newValue() of this type.
    virtual void deleteValue(void* value) const = 0;
    /// Feeds the value held by `any` to `engine`.
    virtual void signature(Base::SkeinHash::Engine& engine, const Any& any) const = 0;
    /// Assigns the value at `from` to the constructed value at `to`, both of the host type.
    virtual void copyValue(const void* from, void* to) const = 0;
    /// Compares the values held by `a` and `b`, both of this type.
    virtual bool equal(const Any& a, const Any& b) const = 0;

    /// The public label ("int32", "string", ...).
    TypeAtom label() const noexcept { return mLabel; }
    /// The interned type_info::name() text of the host type.
    TypeAtom name() const noexcept { return mName; }
    /// The host type.
    const std::type_info& typeInfo() const noexcept { return *mHostType; }
    /// Names of further host types accepted as this type.
    const std::vector<TypeAtom>& aliases() const noexcept { return mAliases; }
    /// Appends an alias. Lookups by host type see it only when added before registration.
    void addAlias(const TypeAtom& alias);

    /// True when `t` names exactly the host type (type_info name texts compared).
    bool matchesType(const std::type_info& t) const noexcept {
        // The same type_info object, or the same name pointer, is the common case and spares
        // the text comparison; distinct objects with equal texts (other modules) still match.
        if (mHostType == &t) {
            return true;
        }
        const char* mine = mHostType->name();
        const char* theirs = t.name();
        return mine == theirs || std::strcmp(mine, theirs) == 0;
    }
    /// True when `t` is one of the aliases; false at once, without interning, if there are none.
    bool isAnAlias(const std::type_info& t) const {
        return !mAliases.empty() && isListedAlias(t);
    }
    /// matchesType(t), or else isAnAlias(t).
    bool supportsType(const std::type_info& t) const { return matchesType(t) || isAnAlias(t); }

protected:
    /// The address of the value held by `any`: owned storage, the bound variable, or null.
    static void* getValuePointer(Any& any) noexcept;
    /// The address of the value held by `any`: owned storage, the bound variable, or null.
    static const void* getValuePointer(const Any& any) noexcept;

    /// Converts the value at `src` (host type named `srcName`) into the value of `dst`, which
    /// holds this type. Throws AnyCastException, leaving `dst` unchanged, when no cast exists.
    void castToMine(Any& dst, const void* src, const TypeAtom& srcName) const;
    /// Converts the value of `src`, which holds this type, into the variable at `dst` (host type
    /// named `dstName`). Throws AnyCastException, leaving `*dst` unchanged, when no cast exists.
    void castFromMine(const Any& src, void* dst, const TypeAtom& dstName) const;

private:
    friend class Any;

    // The alias-list scan behind isAnAlias(), which interns the name of `t`.
    bool isListedAlias(const std::type_info& t) const;

    const AnyCastTable* mCastsFrom = nullptr;
    const AnyCastTable* mCastsTo = nullptr;
    const std::type_info* mHostType;
    TypeAtom mName;
    TypeAtom mLabel;
    std::vector<TypeAtom> mAliases;
};

/// Converts a value of one host type into another. Objects are created with new and handed to
/// AnyTypeRegistry::addCast, which owns them. Stateless and immutable.
class TS_API AnyCast : private Base::NonCopyable {
public:
    /// A cast from host type `from` to host type `to`. Does not touch the registry.
    AnyCast(const std::type_info& from, const std::type_info& to);
    virtual ~AnyCast();

    /// Assigns the converted value of the `from` object at `from` to the constructed `to` object
    /// at `to`.
    virtual void convert(const void* from, void* to) const = 0;

    /// Exact when convert() keeps every source value, Checked when some values may change.
    /// A cast that does not say is Checked.
    virtual CastKind kind() const noexcept { return CastKind::Checked; }
    /// True when convert() of the value at `from` would store a value equal to it (a NaN counts
    /// as equal to a NaN). Any::assignExact refuses a conversion for which this is false. The
    /// default trusts kind(): a host cast that may lose is refused unless it overrides this.
    virtual bool preserves(const void* from) const {
        static_cast<void>(from);
        return kind() == CastKind::Exact;
    }

    /// Name of the source host type.
    TypeAtom fromName() const noexcept { return mFromName; }
    /// Name of the target host type.
    TypeAtom toName() const noexcept { return mToName; }
    /// The source host type.
    const std::type_info& fromTypeInfo() const noexcept { return *mFrom; }
    /// The target host type.
    const std::type_info& toTypeInfo() const noexcept { return *mTo; }

private:
    const std::type_info* mFrom;
    TypeAtom mFromName;
    const std::type_info* mTo;
    TypeAtom mToName;
};

} // namespace Tessel::Dictionary

#endif
