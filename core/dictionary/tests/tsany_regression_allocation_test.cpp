// Regression: Any::parse read through a string stream of its own, whose extraction catches an
// allocation failure and only sets badbit. parse then returned normally with a cut-off value, as
// if the whole text had been read.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytypeimplementations.h>
#include <dictionary/tsanytyperegistry.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <ios>
#include <istream>
#include <new>
#include <ostream>
#include <string>

namespace {

using namespace Tessel::Dictionary;

// An allocator that is out of memory: a string using it keeps only what fits its inline buffer.
template <class T>
struct ExhaustedAllocator {
    using value_type = T;
    ExhaustedAllocator() = default;
    template <class U>
    ExhaustedAllocator(const ExhaustedAllocator<U>&) noexcept {}
    T* allocate(std::size_t) { throw std::bad_alloc(); }
    void deallocate(T*, std::size_t) noexcept {}
};
template <class T, class U>
bool operator==(const ExhaustedAllocator<T>&, const ExhaustedAllocator<U>&) noexcept {
    return true;
}
template <class T, class U>
bool operator!=(const ExhaustedAllocator<T>&, const ExhaustedAllocator<U>&) noexcept {
    return false;
}

using ExhaustedText = std::basic_string<char, std::char_traits<char>, ExhaustedAllocator<char>>;

// A host value whose extraction flags any input as unusable by setting badbit itself.
struct Refusal {
    int value = 0;
};
bool operator==(const Refusal& a, const Refusal& b) {
    return a.value == b.value;
}
std::ostream& operator<<(std::ostream& os, const Refusal& refusal) {
    return os << refusal.value;
}
std::istream& operator>>(std::istream& is, Refusal&) {
    is.setstate(std::ios_base::badbit);
    return is;
}

const AnyType& exhaustedTextType() {
    static const AnyType* const type = [] {
        const TypeAtom label("regression: text without memory");
        AnyTypeRegistry::addType(new Impl::TemplatedAnyType<ExhaustedText>(label));
        return AnyTypeRegistry::typeByLabel(label);
    }();
    return *type;
}

TEST(AnyAllocationRegression, ParsePropagatesAnAllocationFailureOfTheRead) {
    const AnyType& type = exhaustedTextType();
    Any value;
    EXPECT_THROW(value.parse("a-word-too-long-for-the-inline-buffer", type), std::bad_alloc);
}

TEST(AnyAllocationRegression, ParseStillIgnoresTextThatDoesNotParse) {
    static const AnyType* const refusalType = [] {
        const TypeAtom label("regression: refusing reader");
        AnyTypeRegistry::addType(new Impl::TemplatedAnyType<Refusal>(label));
        return AnyTypeRegistry::typeByLabel(label);
    }();
    Any refused;
    EXPECT_NO_THROW(refused.parse("anything", *refusalType));
    EXPECT_EQ(refused.type(), refusalType);

    Any number;
    number.parse("not a number", *AnyTypeRegistry::typeByLabel(TypeAtom("int32")));
    EXPECT_EQ(number.as<int>(), 0);
    Any text;
    text.parse("short", exhaustedTextType()); // fits the inline buffer: nothing to allocate
    EXPECT_TRUE(text.ref<ExhaustedText>() == ExhaustedText("short"));
}

} // namespace
