#include <foundation/tsexception.h>

#include <memory>
#include <sstream>
#include <utility>

namespace Tessel::Base {

// The two item types hosts use are instantiated here once, so that their type information and
// virtual tables come from the library (getValue<T> relies on dynamic_cast across the boundary).
template class ExceptionInfo<std::string>;
template class ExceptionInfo<int>;

namespace {

const char* const kOpenMarker = "%%(";
const char* const kCloseMarker = ")%%";
constexpr std::string::size_type kMarkerLength = 3;

/// The key text of an item; a null key pointer counts as the empty key.
const char* keyText(const ExceptionInfoBase& item) noexcept {
    return item.key() == nullptr ? "" : item.key();
}

void deleteItems(ExceptionDecoration::ItemMap& items) noexcept {
    for (auto& entry : items) {
        delete entry.second;
    }
    items.clear();
}

/// Clones of all items of `source`; on failure every clone made so far is deleted again.
ExceptionDecoration::ItemMap cloneItems(const ExceptionDecoration::ItemMap& source) {
    ExceptionDecoration::ItemMap result;
    try {
        for (const auto& [key, item] : source) {
            std::unique_ptr<ExceptionInfoBase> copy(item->clone());
            if (copy) {
                result.emplace_hint(result.end(), key, copy.get());
                copy.release();
            }
        }
    } catch (...) {
        deleteItems(result);
        throw;
    }
    return result;
}

} // namespace

ExceptionInfoBase::~ExceptionInfoBase() = default;

// --- ExceptionDecoration ------------------------------------------------------------------------

ExceptionDecoration::ExceptionDecoration(const ExceptionDecoration& other)
    : mItems(cloneItems(other.mItems)) {}

ExceptionDecoration& ExceptionDecoration::operator=(const ExceptionDecoration& other) {
    ItemMap fresh = cloneItems(other.mItems); // may throw; nothing has changed yet
    mItems.swap(fresh);
    deleteItems(fresh);
    return *this;
}

ExceptionDecoration::~ExceptionDecoration() {
    deleteItems(mItems);
}

ExceptionDecoration& ExceptionDecoration::operator<<(const ExceptionInfoBase& item) {
    // Clone before touching the map: `item` may be the very item that gets replaced, and a
    // failed allocation must leave the decoration as it was.
    std::unique_ptr<ExceptionInfoBase> copy(item.clone());
    if (!copy) {
        return *this;
    }
    std::string key(keyText(item));
    const auto found = mItems.find(key);
    if (found != mItems.end()) {
        delete found->second;
        found->second = copy.release();
    } else {
        mItems.emplace(std::move(key), copy.get());
        copy.release();
    }
    return *this;
}

ExceptionInfoBase* ExceptionDecoration::getInfo(const std::string& key) const {
    const auto found = mItems.find(key);
    return found == mItems.end() ? nullptr : found->second;
}

std::string ExceptionDecoration::getFilledString(const std::string& key) const {
    const std::string* text = getValue<std::string>(key);
    if (text == nullptr) {
        return std::string();
    }
    std::ostringstream filled;
    // A string stream catches a failed growth of its buffer and only sets badbit; rethrowing it
    // keeps a cut-off text from passing for the whole one (addPrevious would record it).
    filled.exceptions(std::ios_base::badbit);
    fillTemplate(filled, *text);
    return filled.str();
}

std::string ExceptionDecoration::userMessage() const {
    return getFilledString("UserMessage");
}

std::string ExceptionDecoration::userSummary() const {
    return getFilledString("UserSummary");
}

std::string ExceptionDecoration::userDetail() const {
    return getFilledString("UserDetail");
}

std::string ExceptionDecoration::userTitle() const {
    return getFilledString("UserTitle");
}

void ExceptionDecoration::fillTemplate(std::ostream& os, const std::string& text) const {
    std::string::size_type pos = 0;
    for (;;) {
        const auto open = text.find(kOpenMarker, pos);
        if (open == std::string::npos) {
            break;
        }
        // The close marker cannot start inside the open marker, so close >= open + 3.
        const auto close = text.find(kCloseMarker, open);
        if (close == std::string::npos) {
            break;
        }
        os.write(text.data() + pos, static_cast<std::streamsize>(open - pos));
        writeItem(os, text.substr(open + kMarkerLength, close - open - kMarkerLength));
        pos = close + kMarkerLength;
    }
    os.write(text.data() + pos, static_cast<std::streamsize>(text.size() - pos));
}

void ExceptionDecoration::writeItem(std::ostream& os, const std::string& key) const {
    if (const ExceptionInfoBase* item = getInfo(key)) {
        item->writeValue(os);
    } else {
        os << '(' << key << " unknown)";
    }
}

// --- Exception ----------------------------------------------------------------------------------

Exception& Exception::operator=(const Exception& other) {
    if (this != &other) {
        std::list<ExceptionDecoration> previous(other.mPrevious);
        ExceptionDecoration::operator=(other); // strong: on failure nothing has changed
        mPrevious.swap(previous);
    }
    return *this;
}

Exception::~Exception() = default;

NotImplemented::NotImplemented() {
    *this << ExceptionInfo<std::string>("UserMessage", "Unimplemented code path.");
}

NotImplemented::~NotImplemented() = default;

// --- the throw procedure ------------------------------------------------------------------------

namespace Impl {

void addThrowSite(ExceptionDecoration& exception, const char* file, int line, const char* function,
                  const std::type_info& dynamicClass) {
    // A missing site text is left out, so that a report names it with its fallback text.
    if (file != nullptr) {
        exception << ExceptionInfo<std::string>("ThrowFile", file);
    }
    exception << ExceptionInfo<int>("ThrowLine", line);
    if (function != nullptr) {
        exception << ExceptionInfo<std::string>("ThrowFunction", function);
    }
    exception << ExceptionInfo<std::string>("ExceptionClass", readableTypeName(dynamicClass));
}

} // namespace Impl

} // namespace Tessel::Base
