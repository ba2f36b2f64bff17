#ifndef TESSEL_DICTIONARY_TSANY_H
#define TESSEL_DICTIONARY_TSANY_H

#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <foundation/tsexception.h>
#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace Tessel::Dictionary {

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
/// deep and always own. A throwing assignment leaves the target unchanged.
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
    /// value. Throws AnyNullException for an empty `other` or AnyCastException without a cast;
    /// either way the target is unchanged.
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

protected:
    /// Stores an owned copy of the value at `from` as `type`; false (and empty) when `type` is
    /// null. The Any must be empty. `hostType` is informational.
    bool set(const void* from, const std::type_info& hostType, const AnyType* type);
    /// Binds to the variable at `storage`. The Any must be empty. Throws AnyUnknownTypeException,
    /// leaving it empty, for an unregistered host type or a null address.
    void bind(void* storage, const std::type_info& hostType);

private:
    friend class AnyType;

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
