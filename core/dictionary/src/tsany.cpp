#include <dictionary/tsanyexception.h>

#include <string>

namespace Tessel::Dictionary {

namespace {
using Base::ExceptionInfo;
} // namespace

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
