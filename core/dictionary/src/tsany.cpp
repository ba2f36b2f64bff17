// The value core (Any, BindValue) and the exceptions of the value layer.

#include <dictionary/tsany.h>

#include "tsnestedvalues.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>
#include <foundation/tsskeinhash.h>

#include <cassert>
#include <exception>
#include <ios>
#include <new>
#include <sstream>
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

// --- values from host types, moves -----------------------------------------------------------------

namespace {

// The registered type of a host type (by its name or an alias), or null.
const AnyType* typeForHost(const std::type_info& hostType) {
    AnyTypeRegistry::get();
    return AnyTypeRegistry::typeByName(TypeAtom(hostType.name()));
}

[[noreturn]] void throwUnknownHostType(const std::type_info& hostType, const char* function, int line) {
    const ExceptionInfo<std::string> typeItem("Type", Base::readableTypeName(hostType.name()));
    Base::throwException<AnyUnknownTypeException>(__FILE__, line, function, typeItem);
}

} // namespace

void Any::initFromValue(const void* from, const std::type_info& hostType) {
    if (!set(from, hostType, typeForHost(hostType))) {
        throwUnknownHostType(hostType, "Tessel::Dictionary::Any::Any", __LINE__);
    }
}

void Any::assignFromValue(const void* from, const std::type_info& hostType) {
    const AnyType* type = typeForHost(hostType);
    if (type == nullptr) {
        throwUnknownHostType(hostType, "Tessel::Dictionary::Any::operator =", __LINE__);
    }
    if (mType == nullptr) {
        set(from, hostType, type);
    } else if (mType == type) {
        mType->copyValue(from, mValue);
    } else {
        // Keyed by the host type itself, so an alias such as long finds its own cast.
        mType->castToMine(*this, from, TypeAtom(hostType.name()));
    }
}

Any& Any::operator=(Any&& other) {
    if (&other == this) {
        return *this;
    }
    if (mType != nullptr) {
        return *this = static_cast<const Any&>(other);
    }
    mType = other.mType;
    mValue = other.mValue;
    mOwned = other.mOwned;
    other.mType = nullptr;
    other.mValue = nullptr;
    other.mOwned = nullptr;
    return *this;
}

void Any::clear() noexcept {
    if (mType != nullptr && mOwned != nullptr) {
        if (Impl::containerKind(mType) != Impl::ContainerKind::None) {
            Impl::NestedValues::destroy(*this); // nested containers without a recursion per level
            return;
        }
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

// --- typed access and indexing --------------------------------------------------------------------

void Impl::throwDereference(const AnyType& held, const std::type_info& wanted, int line) {
    const ExceptionInfo<std::string> from("FromType", Base::readableTypeName(held.name().getString()));
    const ExceptionInfo<std::string> to("ToType", Base::readableTypeName(wanted.name()));
    Base::throwException<AnyDereferenceException>(kAnyHeaderPath, line, "Tessel::Dictionary::Any::ref", from, to);
}

Dictionary& Any::dict() {
    return ref<Dictionary>();
}

const Dictionary& Any::dict() const {
    return ref<Dictionary>();
}

std::vector<Any>& Any::vec() {
    return ref<std::vector<Any>>();
}

const std::vector<Any>& Any::vec() const {
    return ref<std::vector<Any>>();
}

Any& Any::operator[](const Base::NameAtom<Any>& key) {
    return dict()[key];
}

const Any& Any::operator[](const Base::NameAtom<Any>& key) const {
    return dict()[key];
}

Any& Any::operator[](const char* name) {
    const Base::NameAtom<Any> key(name);
    return dict()[key];
}

const Any& Any::operator[](const char* name) const {
    const Base::NameAtom<Any> key(name);
    return dict()[key];
}

Any& Any::operator[](int index) {
    std::vector<Any>& elements = vec();
    assert(index >= 0 && static_cast<std::size_t>(index) < elements.size());
    return elements[static_cast<std::ptrdiff_t>(index)];
}

const Any& Any::operator[](int index) const {
    const std::vector<Any>& elements = vec();
    assert(index >= 0 && static_cast<std::size_t>(index) < elements.size());
    return elements[static_cast<std::ptrdiff_t>(index)];
}

Any& Any::operator[](unsigned int index) {
    std::vector<Any>& elements = vec();
    assert(index < elements.size());
    return elements[index];
}

const Any& Any::operator[](unsigned int index) const {
    const std::vector<Any>& elements = vec();
    assert(index < elements.size());
    return elements[index];
}

// --- comparison, text and signature ---------------------------------------------------------------

bool Any::operator==(const Any& other) const {
    if (mType != other.mType) {
        return false;
    }
    return mType == nullptr || mType->equal(*this, other);
}

bool Any::operator!=(const Any& other) const {
    return !(*this == other);
}

void Any::write(std::ostream& os) const {
    if (mType != nullptr) {
        mType->write(os, *this);
    }
}

void Any::read(std::istream& is) {
    if (mType != nullptr) {
        mType->read(is, *this);
    }
}

void Any::parse(const std::string& text, const AnyType& type) {
    // The stream copies the text first: `text` may live in the value that is freed below.
    std::istringstream stream(text, std::ios_base::in);
    // Extraction catches an allocation failure and only sets badbit, which would pass a cut-off
    // value for the whole text: with badbit in the mask the stream rethrows it.
    stream.exceptions(std::ios_base::badbit);
    // Storage of the right type is ready before anything changes: a value already owned as
    // `type` is reused, anything else (another type, a binding) is dropped for new storage.
    void* storage = (mType == &type && mOwned != nullptr) ? mOwned : type.newValue();
    if (storage != mOwned) {
        clear();
    }
    mType = &type;
    mValue = storage;
    mOwned = storage;
    try {
        type.read(stream, *this);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        // Anything else that comes with badbit is what the stream used to keep to itself: the
        // mask's report of a badbit that the read set for text it could not use (a failure of
        // either library ABI, hence the base class), or another exception the extraction caught.
        if (!stream.bad()) {
            throw;
        }
    }
}

Base::SkeinHash::Engine& Any::signature(Base::SkeinHash::Engine& engine) const {
    if (mType != nullptr) {
        mType->signature(engine, *this);
    }
    return engine;
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
