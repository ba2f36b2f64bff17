// Key paths: "shots/3/camera/fps" resolved through nested dictionaries and vectors, without
// inserting or interning anything, and AnyPathException for paths that name nothing.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tsexception.h>

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Tessel::Dictionary {

namespace {

using Base::ExceptionInfo;

// Why a walk stopped, filled only when the caller asks for it (atPath): findPath stays free of
// text work and allocation on every path.
struct PathFailure {
    std::size_t end = 0; // the path up to here, the failing segment included, goes in "KeyPath"
    std::string reason;
};

// The segment starting at `begin`: up to the next "/" or the end of the path.
std::string_view segmentAt(std::string_view path, std::size_t begin) {
    const std::size_t slash = path.find('/', begin);
    return path.substr(begin, slash == std::string_view::npos ? std::string_view::npos : slash - begin);
}

// The key a segment names: "~1" stands for "/" and "~0" for "~". Without a "~" the segment is the
// key itself and nothing is copied; otherwise the key is built in `scratch`. False for a "~" that
// is not followed by 0 or 1.
bool keyOf(std::string_view segment, std::string& scratch, std::string_view& key) {
    if (segment.find('~') == std::string_view::npos) {
        key = segment;
        return true;
    }
    scratch.clear();
    for (std::size_t i = 0; i < segment.size(); ++i) {
        if (segment[i] != '~') {
            scratch += segment[i];
            continue;
        }
        if (i + 1 == segment.size() || (segment[i + 1] != '0' && segment[i + 1] != '1')) {
            return false;
        }
        scratch += segment[i + 1] == '0' ? '~' : '/';
        ++i;
    }
    key = scratch;
    return true;
}

// A vector index: decimal digits without a sign or leading zeros that fit in size_t.
bool indexOf(std::string_view segment, std::size_t& index) {
    if (segment.empty() || (segment.size() > 1 && segment[0] == '0') || segment[0] < '0' || segment[0] > '9') {
        return false;
    }
    const char* end = segment.data() + segment.size();
    const auto [stop, error] = std::from_chars(segment.data(), end, index);
    return error == std::errc() && stop == end;
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// One step from `dictionary` by `segment`, or null.
const Any* stepInto(const Dictionary& dictionary, std::string_view segment, PathFailure* failure) {
    std::string scratch;
    std::string_view key;
    if (!keyOf(segment, scratch, key)) {
        if (failure != nullptr) {
            failure->reason = "a '~' must be followed by 0 or 1";
        }
        return nullptr;
    }
    const Any* found = dictionary.find(key);
    if (found == nullptr && failure != nullptr) {
        failure->reason = "the dictionary has no entry " + quoted(key);
    }
    return found;
}

// One step from `value` by `segment`, or null.
const Any* stepInto(const Any& value, std::string_view segment, PathFailure* failure) {
    const AnyType* type = value.type();
    if (type != nullptr && type->matchesType(typeid(Dictionary))) {
        return stepInto(value.dict(), segment, failure);
    }
    if (type != nullptr && type->matchesType(typeid(std::vector<Any>))) {
        const std::vector<Any>& elements = value.vec();
        std::size_t index = 0;
        if (indexOf(segment, index) && index < elements.size()) {
            return &elements[index];
        }
        if (failure != nullptr) {
            failure->reason = indexOf(segment, index)
                                  ? "index " + std::string(segment) + " is past the end of a vector of " +
                                        std::to_string(elements.size()) + " values"
                                  : quoted(segment) + " is no index of a vector";
        }
        return nullptr;
    }
    if (failure != nullptr) {
        failure->reason = type == nullptr ? "an empty value holds no entries"
                                          : "a value of type " + quoted(type->label().getString()) +
                                                " holds no entries";
    }
    return nullptr;
}

// Walks the segments of `path` from `begin` on, starting at `value`.
const Any* walk(const Any* value, std::string_view path, std::size_t begin, PathFailure* failure) {
    while (value != nullptr && begin <= path.size()) {
        const std::string_view segment = segmentAt(path, begin);
        value = stepInto(*value, segment, failure);
        begin += segment.size() + 1;
        if (value == nullptr && failure != nullptr) {
            failure->end = begin - 1;
        }
    }
    return value;
}

const Any* resolve(const Any& root, std::string_view path, PathFailure* failure) {
    return path.empty() ? &root : walk(&root, path, 0, failure);
}

const Any* resolve(const Dictionary& root, std::string_view path, PathFailure* failure) {
    if (path.empty()) {
        if (failure != nullptr) {
            failure->reason = "the empty path names the dictionary itself, which is no entry";
        }
        return nullptr;
    }
    const std::string_view first = segmentAt(path, 0);
    const Any* value = stepInto(root, first, failure);
    if (value == nullptr) {
        if (failure != nullptr) {
            failure->end = first.size();
        }
        return nullptr;
    }
    return walk(value, path, first.size() + 1, failure);
}

[[noreturn]] void throwPathFailure(std::string_view path, const PathFailure& failure, const char* function,
                                   int line) {
    const ExceptionInfo<std::string> keyPath("KeyPath", std::string(path.substr(0, failure.end)));
    const ExceptionInfo<std::string> reason("Reason", failure.reason);
    Base::throwException<AnyPathException>(__FILE__, line, function, keyPath, reason);
}

template <class Root>
const Any& resolveOrThrow(const Root& root, std::string_view path, const char* function, int line) {
    if (const Any* value = resolve(root, path, nullptr)) {
        return *value;
    }
    // The failure is walked a second time, now with its reason: paths that resolve pay nothing.
    PathFailure failure;
    resolve(root, path, &failure);
    throwPathFailure(path, failure, function, line);
}

} // namespace

// Path lookups read only; the non-const forms hand back entries of a non-const root.

Any* Any::findPath(std::string_view path) {
    return const_cast<Any*>(resolve(*this, path, nullptr));
}

const Any* Any::findPath(std::string_view path) const {
    return resolve(*this, path, nullptr);
}

Any& Any::atPath(std::string_view path) {
    return const_cast<Any&>(resolveOrThrow(*this, path, "Tessel::Dictionary::Any::atPath", __LINE__));
}

const Any& Any::atPath(std::string_view path) const {
    return resolveOrThrow(*this, path, "Tessel::Dictionary::Any::atPath", __LINE__);
}

Any* Dictionary::findPath(std::string_view path) {
    return const_cast<Any*>(resolve(*this, path, nullptr));
}

const Any* Dictionary::findPath(std::string_view path) const {
    return resolve(*this, path, nullptr);
}

Any& Dictionary::atPath(std::string_view path) {
    return const_cast<Any&>(resolveOrThrow(*this, path, "Tessel::Dictionary::Dictionary::atPath", __LINE__));
}

const Any& Dictionary::atPath(std::string_view path) const {
    return resolveOrThrow(*this, path, "Tessel::Dictionary::Dictionary::atPath", __LINE__);
}

void Impl::addKeyPath(Base::ExceptionDecoration& exception, std::string_view path) {
    exception << ExceptionInfo<std::string>("KeyPath", std::string(path));
}

AnyPathException::AnyPathException() {
    *this << ExceptionInfo<std::string>("UserMessage", "Nothing at key path '%%(KeyPath)%%': %%(Reason)%%.");
}
AnyPathException::~AnyPathException() = default;

} // namespace Tessel::Dictionary
