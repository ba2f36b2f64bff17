#ifndef TESSEL_DICTIONARY_TSANY_H
#define TESSEL_DICTIONARY_TSANY_H

#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <foundation/tsexception.h>
#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Tessel::Base::SkeinHash {
class Engine;
} // namespace Tessel::Base::SkeinHash

namespace Tessel::Dictionary {

class Dictionary;

namespace Impl {
class NestedValues;
} // namespace Impl

/// A caller's variable handed to an Any to be bound: its address and its host type.
/// The variable is neither owned nor copied; it must outlive every Any bound to it.
class TS_API BindValue {
public:
    /// Binds `variable`, whose host type is T. Const variables cannot be bound.
    template <class T, class = std::enable_if_t<!std::is_same_v<std::decay_t<T>, BindValue>>>
    explicit BindValue(T& variable) noexcept
        : mAddress(static_cast<void*>(std::addressof(variable))), mTypeInfo(&typeid(T)) {
        static_assert(!std::is_const_v<T>, "a const variable cannot be bound to an Any");
    }
    /// Binds the variable at `address`, whose host type is `type`.
    BindValue(void* address, const std::type_info& type) noexcept
        : mAddress(address), mTypeInfo(&type) {}

    /// The variable's address.
    void* address() const noexcept { return mAddress; }
    /// The variable's host type.
    const std::type_info& typeInfo() const noexcept { return *mTypeInfo; }

private:
    void* mAddress;
    const std::type_info* mTypeInfo;
};

/// A dynamically typed value: empty, owning one value of a registered value type, or bound to a
/// variable of the caller.
///
/// A value that has a type keeps it: assignments copy or convert into the existing value (through
/// to a bound variable); only clear(), reset(), rebinding and parse() change the type. Copies are
/// deep and always own. Values nest to any depth: copying, comparing, signing and destroying do
/// not recurse on the C++ stack (a value must not contain itself, which only a binding can do).
///
/// What a throwing assignment leaves: a scalar, string or time base is unchanged; a dictionary
/// whose copy fails is left empty; a vector is assigned element by element, so it may stop
/// half-way, with the elements before the failing one assigned, that one left as its own type's
/// assignment leaves it, and the rest as they were.
class TS_API Any {
public:
    /// An empty value.
    Any() noexcept = default;
    /// A deep copy that owns its value, also when `other` is bound.
    Any(const Any& other);
    /// Binds to the caller's variable. Throws AnyUnknownTypeException for an unregistered host
    /// type or a null address.
    Any(const BindValue& value); // NOLINT(google-explicit-constructor)
    /// Owns a string holding `text` (null gives the empty string).
    Any(const char* text); // NOLINT(google-explicit-constructor)
    /// Frees an owned value; a bound variable is untouched.
    ~Any();

    /// Copies `other` into this value: an empty target takes an owned copy of `other`'s type; a
    /// typed target keeps its type and copies (same type) or converts (registered cast) into its
    /// value. Throws AnyNullException for an empty `other` or AnyCastException without a cast,
    /// leaving the target unchanged; a vector target copies element by element and may stop
    /// half-way (see the class comment).
    Any& operator=(const Any& other);
    /// Drops whatever is held and binds to the caller's variable (empty if it throws).
    Any& operator=(const BindValue& value);
    /// An empty target becomes an owned string; a string value takes the text; any other type
    /// converts from `char*` through a registered cast or throws AnyCastException, unchanged.
    Any& operator=(const char* text);

    /// Frees an owned value and becomes empty; a bound variable is untouched.
    void clear() noexcept;
    /// Becomes an owned string holding `text` (null gives the empty string), whatever was held.
    void reset(const char* text);
    /// As reset(const char*).
    void reset(char* text) { reset(static_cast<const char*>(text)); }

    /// True when there is no value.
    bool isEmpty() const noexcept { return mValue == nullptr; }
    /// The value's type, or null when empty.
    const AnyType* type() const noexcept { return mType; }

    /// Stores an owned copy of `value` as the type registered for T. The Any must be empty.
    /// Throws AnyUnknownTypeException, leaving it empty, when T has no registered type.
    template <class T>
    void set(const T& value);
    /// clear(), then set(value).
    template <class T>
    void reset(const T& value) {
        clear();
        set(value);
    }

    /// Reads the value into `variable`: copied when T is the held host type, otherwise converted
    /// by a registered cast out of the held type. Throws AnyNullException when empty and
    /// AnyCastException (variable unchanged) when no cast exists.
    template <class T>
    void get(T& variable) const;
    /// The value as a T (see get()). T must be default-constructible.
    template <class T>
    T as() const {
        T result{};
        get(result);
        return result;
    }

    /// The held value as a T, for reading and writing in place (the bound variable itself when
    /// bound). T must be the held host type or one of its aliases. Throws AnyNullException when
    /// empty and AnyDereferenceException when the value cannot be viewed as a T.
    template <class T>
    T& ref();
    /// As ref(), but only the exact host type is accepted, not an alias.
    template <class T>
    const T& ref() const;

    /// The held dictionary (see ref()).
    Dictionary& dict();
    /// The held dictionary (see ref() const).
    const Dictionary& dict() const;
    /// The held vector of values (see ref()).
    std::vector<Any>& vec();
    /// The held vector of values (see ref() const).
    const std::vector<Any>& vec() const;

    /// The entry `key` of the held dictionary, inserted empty when missing.
    Any& operator[](const Base::NameAtom<Any>& key);
    /// The entry `key` of the held dictionary, or the shared empty entry; inserts nothing.
    const Any& operator[](const Base::NameAtom<Any>& key) const;
    /// As operator[](NameAtom<Any>(name)); the text is interned on every call.
    Any& operator[](const char* name);
    /// As operator[](NameAtom<Any>(name)) const; the text is interned on every call.
    const Any& operator[](const char* name) const;
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    Any& operator[](int index);
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    const Any& operator[](int index) const;
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    Any& operator[](unsigned int index);
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    const Any& operator[](unsigned int index) const;

    /// True when both hold the same type object and its equal() holds; two empty values are
    /// equal. Values of different types are never equal; nothing is converted.
    bool operator==(const Any& other) const;
    /// The negation of ==.
    bool operator!=(const Any& other) const;

    /// Writes the value's text form, with nothing around it; an empty value writes nothing.
    void write(std::ostream& os) const;
    /// Reads the value in place as its existing type (into a bound variable too); an empty value
    /// reads nothing. Failures show only in the stream's state.
    void read(std::istream& is);
    /// Makes this value an owned value of `type` read from `text` (a bound variable is detached
    /// and keeps its value). Text that fails to parse is not reported.
    void parse(const std::string& text, const AnyType& type);

    /// Feeds the value's bytes to `engine` (nothing for an empty value) and returns `engine`.
    Base::SkeinHash::Engine& signature(Base::SkeinHash::Engine& engine) const;

protected:
    /// Stores an owned copy of the value at `from` as `type`; false (and empty) when `type` is
    /// null. The Any must be empty. `hostType` is informational.
    bool set(const void* from, const std::type_info& hostType, const AnyType* type);
    /// Binds to the variable at `storage`. The Any must be empty. Throws AnyUnknownTypeException,
    /// leaving it empty, for an unregistered host type or a null address.
    void bind(void* storage, const std::type_info& hostType);

private:
    friend class AnyType;
    friend class Impl::NestedValues;

    const AnyType* mType = nullptr;
    void* mValue = nullptr;
    void* mOwned = nullptr;
};

namespace Impl {
/// Path recorded as "ThrowFile" by the throw sites of this header, which compile in the host.
inline constexpr const char kAnyHeaderPath[] = "core/dictionary/include/dictionary/tsany.h";
} // namespace Impl

template <class T>
void Any::set(const T& value) {
    AnyTypeRegistry::get();
    const AnyType* found = AnyTypeRegistry::typeByName(TypeAtom(typeid(T).name()));
    if (!set(&value, typeid(T), found)) {
        const Base::ExceptionInfo<std::string> typeItem("Type", Base::readableTypeName(typeid(T).name()));
        // One line, so that every compiler records the same "ThrowLine".
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyUnknownTypeException, "Tessel::Dictionary::Any::set", typeItem);
    }
}

namespace Impl {
/// Throws the AnyDereferenceException of a typed view of `held` as `wanted`.
[[noreturn]] TS_API void throwDereference(const AnyType& held, const std::type_info& wanted, int line);
} // namespace Impl

template <class T>
T& Any::ref() {
    if (mType == nullptr) {
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyNullException, "Tessel::Dictionary::Any::ref");
    }
    if (!mType->supportsType(typeid(T))) {
        Impl::throwDereference(*mType, typeid(T), __LINE__);
    }
    return *static_cast<T*>(mValue);
}

template <class T>
const T& Any::ref() const {
    if (mType == nullptr) {
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyNullException, "Tessel::Dictionary::Any::ref");
    }
    if (!mType->matchesType(typeid(T))) {
        Impl::throwDereference(*mType, typeid(T), __LINE__);
    }
    return *static_cast<const T*>(mValue);
}

template <class T>
void Any::get(T& variable) const {
    if (mType == nullptr) {
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyNullException, "Tessel::Dictionary::Any::get");
    }
    if (mType->matchesType(typeid(T))) {
        variable = *static_cast<const T*>(mValue);
        return;
    }
    mType->castFromMine(*this, std::addressof(variable), TypeAtom(typeid(T).name()));
}

} // namespace Tessel::Dictionary

#endif
