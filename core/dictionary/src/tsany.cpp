// The value core (Any, BindValue) and the exceptions of the value layer.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>

#include <string>

namespace Tessel::Dictionary {

namespace {

using Base::ExceptionInfo;

// The "string" type, looked up once: it is registered with the built-ins and lives for the rest
// of the process, so the C-string operations need no registry search or interning.
const AnyType& stringType() {
    static const AnyType* const type = AnyTypeRegistry::typeByLabel(gTypeLabelString);
    return *type;
}

// The name of the C-string host type, the source of the text cast.
const TypeAtom& charPointerName() {
    static const TypeAtom name(typeid(char*).name());
    return name;
}

// A new owned string value holding `text` (null reads as empty).
void* newStringValue(const char* text) {
    const AnyType& type = stringType();
    void* storage = type.newValue();
    try {
        static_cast<std::string*>(storage)->assign(text == nullptr ? "" : text);
    } catch (...) {
        type.deleteValue(storage);
        throw;
    }
    return storage;
}

} // namespace

// --- Any ----------------------------------------------------------------------------------------

Any::Any(const Any& other) {
    if (other.mType != nullptr) {
        set(other.mValue, other.mType->typeInfo(), other.mType);
    }
}

Any::Any(const BindValue& value) {
    bind(value.address(), value.typeInfo());
}

Any::Any(const char* text) : mType(&stringType()), mValue(newStringValue(text)), mOwned(mValue) {}

Any::~Any() {
    clear();
}

Any& Any::operator=(const Any& other) {
    if (&other == this) {
        return *this;
    }
    if (mType == nullptr) {
        if (other.mType != nullptr) {
            set(other.mValue, other.mType->typeInfo(), other.mType);
        }
        return *this;
    }
    if (other.mType == mType) {
        mType->copyValue(other.mValue, mValue);
        return *this;
    }
    if (other.mType == nullptr) {
        TS_THROW(AnyNullException, "Tessel::Dictionary::Any::operator =");
    }
    mType->castToMine(*this, other.mValue, other.mType->name());
    return *this;
}

Any& Any::operator=(const BindValue& value) {
    clear();
    bind(value.address(), value.typeInfo());
    return *this;
}

Any& Any::operator=(const char* text) {
    if (mType == nullptr) {
        reset(text);
    } else if (mType->label() == gTypeLabelString) {
        static_cast<std::string*>(mValue)->assign(text == nullptr ? "" : text);
    } else {
        // The source is the argument itself, a C string, converted by a registered cast.
        mType->castToMine(*this, static_cast<const void*>(&text), charPointerName());
    }
    return *this;
}

void Any::clear() noexcept {
    if (mType != nullptr && mOwned != nullptr) {
        mType->deleteValue(mOwned);
    }
    mType = nullptr;
    mValue = nullptr;
    mOwned = nullptr;
}

void Any::reset(const char* text) {
    // The new string is made before the old value goes, so `text` may point into it and a failed
    // allocation leaves the value as it was.
    void* storage = newStringValue(text);
    clear();
    mType = &stringType();
    mValue = storage;
    mOwned = storage;
}

bool Any::set(const void* from, const std::type_info& /*hostType*/, const AnyType* type) {
    if (type == nullptr) {
        mType = nullptr;
        mValue = nullptr;
        mOwned = nullptr;
        return false;
    }
    void* storage = type->newValue();
    try {
        type->copyValue(from, storage);
    } catch (...) {
        type->deleteValue(storage);
        throw;
    }
    mType = type;
    mValue = storage;
    mOwned = storage;
    return true;
}

void Any::bind(void* storage, const std::type_info& hostType) {
    AnyTypeRegistry::get();
    const AnyType* type = AnyTypeRegistry::typeByName(TypeAtom(hostType.name()));
    if (type != nullptr && storage != nullptr) {
        mType = type;
        mValue = storage;
        mOwned = nullptr;
        return;
    }
    const ExceptionInfo<std::string> typeItem("Type", Base::readableTypeName(hostType.name()));
    // One line, so that every compiler records the same "ThrowLine".
    TS_THROW(AnyUnknownTypeException, "Tessel::Dictionary::Any::bind", typeItem);
}

// --- exceptions of the value layer --------------------------------------------------------------

AnyException::~AnyException() = default;

AnyNullException::AnyNullException() {
    *this << ExceptionInfo<std::string>("UserMessage", "Attempted to access an empty dictionary entry.");
}
AnyNullException::~AnyNullException() = default;

AnyDereferenceException::AnyDereferenceException() {
    *this << ExceptionInfo<std::string>(
        "UserMessage", "Can't make dictionary entry of type '%%(FromType)%%' be of type '%%(ToType)%%'.");
}
AnyDereferenceException::~AnyDereferenceException() = default;

AnyUnknownTypeException::AnyUnknownTypeException() {
    *this << ExceptionInfo<std::string>("UserMessage",
                                        "Don't know how to handle type '%%(Type)%%' in a Dictionary.");
}
AnyUnknownTypeException::~AnyUnknownTypeException() = default;

AnyCastException::AnyCastException() {
    *this << ExceptionInfo<std::string>(
        "UserMessage",
        "Don't know how to cast dictionary entry from type '%%(FromType)%%' to type '%%(ToType)%%'.");
}
AnyCastException::~AnyCastException() = default;

} // namespace Tessel::Dictionary
