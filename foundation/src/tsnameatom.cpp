#include <foundation/tsnameatom.h>

#include <boost/thread/locks.hpp>

#include <atomic>

namespace Tessel::Base {

NameAtomManager* NameAtomManager::create() {
    // One creation mutex for all tags; each tag's getManager() also holds its own mutex.
    static boost::mutex creationMutex;
    boost::unique_lock<boost::mutex> lock(creationMutex);
    return new NameAtomManager();
}

NameAtomManager::NameAtomManager() {
    auto entry = indexByText.emplace(std::string(), 0U).first;
    textByIndex.push_back(&entry->first);
    entryCount.store(1, std::memory_order_release);
}

std::uint32_t NameAtomManager::getIndex(const std::string& text) {
    return intern(std::string_view(text));
}

std::uint32_t NameAtomManager::intern(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    boost::unique_lock<boost::mutex> lock(mutex);
    auto found = indexByText.find(text);
    if (found != indexByText.end()) {
        return found->second;
    }
    // Make room first, so that a failed allocation leaves both tables as they were. The room
    // grows geometrically: reserving one more each time would copy the whole index per text.
    if (textByIndex.size() == textByIndex.capacity()) {
        textByIndex.reserve(textByIndex.capacity() < 8 ? 16 : textByIndex.capacity() * 2);
    }
    const auto newIndex = static_cast<std::uint32_t>(textByIndex.size());
    auto inserted = indexByText.emplace_hint(found, std::string(text), newIndex);
    textByIndex.push_back(&inserted->first); // cannot throw: capacity reserved above
    entryCount.store(static_cast<std::ptrdiff_t>(textByIndex.size()), std::memory_order_release);
    return newIndex;
}

const std::string& NameAtomManager::getString(std::uint32_t index) {
    boost::unique_lock<boost::mutex> lock(mutex);
    return index < textByIndex.size() ? *textByIndex[index] : *textByIndex[0];
}

std::uint32_t NameAtomManager::findIndex(const std::string& text) {
    return find(text).value_or(0U);
}

std::optional<std::uint32_t> NameAtomManager::find(std::string_view text) const {
    if (text.empty()) {
        return 0U;
    }
    boost::unique_lock<boost::mutex> lock(mutex);
    auto found = indexByText.find(text);
    if (found == indexByText.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::ptrdiff_t NameAtomManager::lastIndex() const {
    return entryCount.load(std::memory_order_acquire) - 1;
}

template <class Tag>
NameAtomManager& NameAtom<Tag>::getManager() {
    // Constant-initialised, so the unlocked first test is valid from the very first call,
    // including calls made during the library's own static initialisation.
    static std::atomic<NameAtomManager*> instance{nullptr};
    NameAtomManager* manager = instance.load(std::memory_order_acquire);
    if (manager != nullptr) {
        return *manager;
    }
    static boost::mutex tagMutex;
    boost::unique_lock<boost::mutex> lock(tagMutex);
    manager = instance.load(std::memory_order_relaxed);
    if (manager == nullptr) {
        manager = NameAtomManager::create();
        instance.store(manager, std::memory_order_release);
    }
    return *manager;
}

// The only definitions of the two managers' accessor: hosts always reach the library's tables.
template NameAtomManager& NameAtom<Tessel::Dictionary::Any>::getManager();
template NameAtomManager& NameAtom<Tessel::Dictionary::AnyType>::getManager();

} // namespace Tessel::Base
