// Fuzz target: an interpreter of operations over nested dictionaries and vectors held by three
// root values: insertion, assignment (copying, converting and failing), erasure, const lookup,
// copies, whole-dictionary and self-assignment, nesting a value inside itself by copy, vector
// element operations, binding entries to host variables (containers included), clearing, swapping,
// comparison and signatures.
//
// Input: a sequence of operations, each an operation byte followed by the paths it works on (a
// root and up to four steps of keys or element indices) and its arguments.
//
// Invariants (each follows from the documented design):
// - the non-const subscript inserts exactly one empty entry for a missing key and nothing for a
//   present one; const lookups (Dictionary and Any, by atom and by text) insert nothing and give
//   the shared empty entry for every missing key; subscripts on a value that holds no dictionary
//   throw AnyNullException or AnyDereferenceException and change nothing;
// - erase reports whether the key was there and removes exactly that entry;
// - assignment of one value to another: an empty target takes the source's type and a deep copy of
//   its value; the same type copies (a dictionary is replaced by a copy of the source, even when the
//   source lives inside the target or the target inside the source); a vector is assigned element by
//   element as std::vector assignment does, partial result of a failing element included; another
//   type converts where a cast exists and otherwise throws AnyCastException; an empty source throws
//   AnyNullException; a failed assignment leaves the target exactly as it was; self-assignment and
//   assignment between two values bound to the same variable change nothing;
// - a copy holds the same types and bytes, signs the same, compares equal unless it holds a NaN,
//   and is independent: changing it leaves the source as it was, also where the source is bound;
// - binding stores the variable's address (reads and writes reach the variable) under the type of
//   the variable's host type; a failed bind (null address, unregistered type) leaves the value
//   empty; clearing a bound value leaves the variable untouched;
// - == is symmetric, != is its negation, two empty values are equal, a value equals itself unless
//   it holds a NaN, and values of the same types and bytes are equal unless they hold a NaN;
// - reset, assignment of a C string and parse whose text lives in the very value they change act
//   as with a copy of that text (parse as the string type keeps an owned string's storage, so a
//   read that fails keeps its old text);
// - the signature is exactly the documented feed (dictionary frame "(", key, label, value, "|",
//   ")", an empty entry feeding only its key and "|"; vector elements after their 4-byte index;
//   scalars as stored bytes, strings as their bytes, time bases as two 8-byte fields).
// Host variables are declared before the roots, so they outlive every value bound to them; a bind
// that would make a value contain itself (the caller's duty to avoid) is skipped; the tree is
// kept small so that runs stay fast.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace TsFuzz;
using Tessel::Dictionary::AnyCastException;
using Tessel::Dictionary::AnyDereferenceException;
using Tessel::Dictionary::AnyException;
using Tessel::Dictionary::AnyNullException;
using Tessel::Dictionary::AnyUnknownTypeException;
using Tessel::Dictionary::BindValue;
using Key = Dictionary::Key;

constexpr std::size_t kRoots = 3;
constexpr std::size_t kMaxNodes = 600;
constexpr int kMaxSteps = 96;

const char* const kKeyTexts[] = {"a", "b", "width", "height", "rate", "", "\xff\xfe", "nested"};
constexpr std::size_t kKeyCount = sizeof kKeyTexts / sizeof kKeyTexts[0];

// --- walking trees ---------------------------------------------------------------------------------

/// Counts the values reachable from `any` (through bound containers too), stopping past `limit`.
std::size_t countNodes(const Any& any, std::size_t limit) {
    std::size_t count = 1;
    const int label = labelOf(any.type());
    if (label == kDictionary) {
        for (const auto& entry : any.dict()) {
            if (count > limit) {
                break;
            }
            count += countNodes(entry.second, limit);
        }
    } else if (label == kVector) {
        for (const Any& element : any.vec()) {
            if (count > limit) {
                break;
            }
            count += countNodes(element, limit);
        }
    }
    return count;
}

/// The address of the value `any` refers to (owned storage or bound variable), or null.
const void* valueAddress(const Any& any) {
    if (any.isEmpty()) {
        return nullptr;
    }
    return withHostType(labelOf(any.type()), [&](auto tag) -> const void* {
        using T = typename decltype(tag)::type;
        return &any.ref<T>();
    });
}

/// Appends the value address of `any` and of everything inside it (a value bound in several
/// places appears as often), and the addresses of the Any objects themselves.
void collect(const Any& any, std::vector<const void*>& values, std::set<const Any*>& holders) {
    holders.insert(&any);
    if (const void* address = valueAddress(any)) {
        values.push_back(address);
    }
    const int label = labelOf(any.type());
    if (label == kDictionary) {
        for (const auto& entry : any.dict()) {
            collect(entry.second, values, holders);
        }
    } else if (label == kVector) {
        for (const Any& element : any.vec()) {
            collect(element, values, holders);
        }
    }
}

bool contains(const std::vector<const void*>& values, const void* address) {
    return std::find(values.begin(), values.end(), address) != values.end();
}

/// True when some value address occurs twice.
bool hasDuplicates(std::vector<const void*> values) {
    std::sort(values.begin(), values.end());
    return std::adjacent_find(values.begin(), values.end()) != values.end();
}

void feedLittleEndian(Engine& engine, unsigned long long value, int bytes) {
    unsigned char out[8];
    for (int i = 0; i < bytes; ++i) {
        out[i] = static_cast<unsigned char>(value >> (8 * i));
    }
    engine.update(out, static_cast<std::size_t>(bytes));
}

/// The documented signature feed of `any`, written independently of the library's.
void documentedFeed(Engine& engine, const Any& any) {
    if (any.isEmpty()) {
        return;
    }
    const int label = labelOf(any.type());
    if (label == kDictionary) {
        engine.update("(", 1);
        for (const auto& [key, value] : any.dict()) {
            const std::string& text = key.getString();
            engine.update(text.data(), text.size());
            if (!value.isEmpty()) {
                const std::string& typeLabel = value.type()->label().getString();
                engine.update(typeLabel.data(), typeLabel.size());
                documentedFeed(engine, value);
            }
            engine.update("|", 1);
        }
        engine.update(")", 1);
    } else if (label == kVector) {
        const AnyVector& elements = any.vec();
        for (std::size_t i = 0; i < elements.size(); ++i) {
            feedLittleEndian(engine, i, 4);
            documentedFeed(engine, elements[i]);
        }
    } else if (label == kString) {
        const std::string& text = any.ref<std::string>();
        engine.update(text.data(), text.size());
    } else if (label == kTimeBase) {
        const TimeBase& t = any.ref<TimeBase>();
        feedLittleEndian(engine, t.numerator, 8);
        feedLittleEndian(engine, t.denominator, 8);
    } else {
        withHostType(label, [&](auto tag) {
            using T = typename decltype(tag)::type;
            if constexpr (std::is_arithmetic_v<T>) {
                const T& value = any.ref<T>();
                engine.update(&value, sizeof value);
            }
        });
    }
}

/// A digest of the whole content with types and structure: equal exactly when two values hold
/// the same types, the same keys and the same bytes everywhere.
void deepFeed(Engine& engine, const Any& any) {
    if (any.isEmpty()) {
        engine.update("E", 1);
        return;
    }
    const int label = labelOf(any.type());
    feedLittleEndian(engine, static_cast<unsigned long long>(label), 1);
    if (label == kDictionary) {
        feedLittleEndian(engine, any.dict().size(), 8);
        for (const auto& [key, value] : any.dict()) {
            feedLittleEndian(engine, key.getIndex(), 4);
            deepFeed(engine, value);
        }
    } else if (label == kVector) {
        feedLittleEndian(engine, any.vec().size(), 8);
        for (const Any& element : any.vec()) {
            deepFeed(engine, element);
        }
    } else {
        if (label == kString) {
            feedLittleEndian(engine, any.ref<std::string>().size(), 8);
        }
        documentedFeed(engine, any);
    }
}

Digest deepDigest(const Any& any) {
    Engine engine;
    deepFeed(engine, any);
    return engine.digest();
}

/// What the registered casts allow between two labels (the rest throws AnyCastException).
bool castExists(int from, int to) {
    const bool fromNumber = from >= kBool && from <= kDouble;
    const bool toNumber = to >= kBool && to <= kDouble;
    if (fromNumber && toNumber) {
        return true;
    }
    if (to == kTimeBase) {
        return from == kInt32 || from == kUInt32 || from == kFloat || from == kDouble;
    }
    if (from == kTimeBase) {
        return to == kBool || to == kInt32 || to == kUInt32 || to == kFloat || to == kDouble;
    }
    return false;
}

/// Runs `operation`; true when it threw one of the library's value exceptions.
template <class F>
bool throwsAnyException(F&& operation) {
    try {
        operation();
    } catch (const AnyException&) {
        return true;
    }
    return false;
}

// --- the interpreter -------------------------------------------------------------------------------

class Interpreter {
public:
    explicit Interpreter(FuzzInput& in) : mIn(in) {
        // Two dictionaries and a vector to start from.
        mRoots[0].set(Dictionary());
        mRoots[1].set(Dictionary());
        mRoots[2].set(AnyVector());
    }

    /// Runs one operation; false when the run should end (input used up or tree too large).
    bool step() {
        if (mIn.exhausted() || totalNodes() > kMaxNodes) {
            return false;
        }
        static const char* const names[16] = {
            "insert", "assign scalar", "assign new container", "assign node", "erase", "const lookup",
            "copy", "assign whole dictionary", "bind", "failed bind", "compare", "sign",
            "vector elements", "clear", "swap dictionaries", "own text"};
        // TSFUZZ_TRACE=1 lists the operations an input runs, for reading a crash's reproducer.
        static const bool trace = std::getenv("TSFUZZ_TRACE") != nullptr;
        const std::size_t operation = mIn.below(16);
        if (trace) {
            std::fprintf(stderr, "%s\n", names[operation]);
        }
        switch (operation) {
        case 0: insert(); break;
        case 1: assignScalar(); break;
        case 2: assignNewContainer(); break;
        case 3: assignNode(); break;
        case 4: erase(); break;
        case 5: constLookup(); break;
        case 6: copyNode(); break;
        case 7: assignWholeDictionary(); break;
        case 8: bind(); break;
        case 9: failedBind(); break;
        case 10: compare(); break;
        case 11: sign(); break;
        case 12: vectorElements(); break;
        case 13: clearNode(); break;
        case 14: swapDictionaries(); break;
        default: ownText(); break;
        }
        return true;
    }

    void finish() {
        for (const Any& root : mRoots) {
            checkSignature(root);
        }
    }

private:
    // --- choosing places ---

    Key key() {
        const std::size_t choice = mIn.below(kKeyCount + 1);
        if (choice < kKeyCount) {
            return Key(kKeyTexts[choice]);
        }
        return Key(mIn.text());
    }

    /// A value reached from a root through existing entries and elements; inserts nothing.
    Any& node() {
        Any* current = &mRoots[mIn.below(kRoots)];
        const std::size_t steps = mIn.below(5);
        for (std::size_t s = 0; s < steps; ++s) {
            const int label = labelOf(current->type());
            if (label == kDictionary) {
                Any* next = current->dict().find(key());
                if (next == nullptr) {
                    break;
                }
                current = next;
            } else if (label == kVector && !current->vec().empty()) {
                current = &current->vec()[mIn.below(current->vec().size())];
            } else {
                break;
            }
        }
        return *current;
    }

    std::size_t totalNodes() const {
        std::size_t total = 0;
        for (const Any& root : mRoots) {
            total += countNodes(root, kMaxNodes);
        }
        for (const HostVariables& variables : mVariables) {
            total += countNodes(Any(BindValueOf(variables.dictionary)), kMaxNodes);
            total += countNodes(Any(BindValueOf(variables.vector)), kMaxNodes);
        }
        return total;
    }

    template <class T>
    static BindValue BindValueOf(const T& variable) {
        return BindValue(const_cast<T&>(variable));
    }

    /// A value of a label the input picks, owned.
    Any scalar() {
        const int label = static_cast<int>(mIn.below(13)); // bool .. string
        const std::size_t choice = mIn.below(4);
        if (choice == 0) {
            return makeOwned(kTimeBase, mIn);
        }
        if (choice == 1) {
            return Any(); // empty
        }
        return makeOwned(label, mIn);
    }

    // --- checks shared by the operations ---

    void checkSignature(const Any& any) {
        Engine expected;
        documentedFeed(expected, any);
        const Digest got = signatureOf(any);
        TSFUZZ_CHECK(got == expected.digest(), "signature differs from the documented feed");
        TSFUZZ_CHECK(signatureOf(any) == got, "signing twice must agree");
    }

    void checkCopy(const Any& original) {
        const Digest before = deepDigest(original);
        Any copy(original);
        TSFUZZ_CHECK(deepDigest(copy) == before, "a copy must hold the same types and bytes");
        TSFUZZ_CHECK(signatureOf(copy) == signatureOf(original));
        const bool nan = holdsNaN(original);
        TSFUZZ_CHECK((copy == original) == !nan && (copy != original) == nan && (original == copy) == !nan);
        // Change the copy deeply; the original must not notice.
        mutate(copy, 0);
        TSFUZZ_CHECK(deepDigest(original) == before, "changing a copy changed its source");
    }

    /// Changes something inside `any` (the first container entry, or the value itself).
    void mutate(Any& any, int depth) {
        const int label = labelOf(any.type());
        if (label == kDictionary) {
            Dictionary& dictionary = any.dict();
            if (!dictionary.empty() && depth < 4) {
                mutate(dictionary.begin()->second, depth + 1);
            } else {
                dictionary[Key("mutated")] = Any("x");
            }
        } else if (label == kVector) {
            AnyVector& elements = any.vec();
            if (!elements.empty() && depth < 4) {
                mutate(elements.front(), depth + 1);
            } else {
                elements.emplace_back("x");
            }
        } else {
            any.reset("mutated");
        }
    }

    // --- the operations ---

    void insert() {
        Any& target = node();
        const Key k = key();
        if (labelOf(target.type()) != kDictionary) {
            const Digest before = deepDigest(target);
            const AnyType* type = target.type();
            bool nullThrown = false;
            bool dereferenceThrown = false;
            try {
                (void)target[k];
            } catch (const AnyNullException&) {
                nullThrown = true;
            } catch (const AnyDereferenceException&) {
                dereferenceThrown = true;
            }
            TSFUZZ_CHECK(target.isEmpty() ? nullThrown : dereferenceThrown, "subscript of a non-dictionary");
            TSFUZZ_CHECK(target.type() == type && deepDigest(target) == before, "a failed subscript changed the value");
            return;
        }
        Dictionary& dictionary = target.dict();
        const bool had = dictionary.hasEntry(k);
        const std::size_t size = dictionary.size();
        Any& entry = mIn.flag() ? target[k] : dictionary[k];
        TSFUZZ_CHECK(dictionary.size() == size + (had ? 0 : 1), "the subscript inserts one entry at most");
        TSFUZZ_CHECK(&entry == dictionary.find(k));
        if (!had) {
            TSFUZZ_CHECK(entry.isEmpty(), "an inserted entry is empty");
        }
    }

    /// target = source, with every documented outcome checked.
    void checkedAssign(Any& target, const Any& source) {
        const AnyType* targetType = target.type();
        const AnyType* sourceType = source.type();
        const int targetLabel = labelOf(targetType);
        const int sourceLabel = labelOf(sourceType);
        const Digest targetBefore = deepDigest(target);
        const Digest sourceBefore = deepDigest(source);
        const void* targetValue = valueAddress(target);
        const void* sourceValue = valueAddress(source);

        if (targetLabel == kVector && sourceLabel == kVector && targetValue != sourceValue) {
            checkedVectorAssign(target, source);
            return;
        }
        const bool thrown = throwsAnyException([&] { target = source; });
        // From here on `source` may be gone (it may have lived inside the target's old value).
        if (&target == &source || targetValue == sourceValue) {
            TSFUZZ_CHECK(!thrown && deepDigest(target) == targetBefore, "self-assignment changed the value");
            return;
        }
        if (targetType == nullptr) {
            TSFUZZ_CHECK(!thrown && target.type() == sourceType && deepDigest(target) == sourceBefore,
                         "an empty target takes a copy of the source");
            return;
        }
        TSFUZZ_CHECK(target.type() == targetType, "an assignment never changes the target's type");
        if (targetType == sourceType) {
            TSFUZZ_CHECK(!thrown && deepDigest(target) == sourceBefore, "same-type assignment copies the source");
        } else if (sourceType == nullptr || !castExists(sourceLabel, targetLabel)) {
            TSFUZZ_CHECK(thrown && deepDigest(target) == targetBefore, "a failed assignment must leave the target");
        } else {
            TSFUZZ_CHECK(!thrown, "a registered cast must convert");
        }
        TSFUZZ_CHECK(valueAddress(target) == targetValue, "an assignment keeps the target's storage");
    }

    /// Vector to vector: std::vector assignment with Any::operator= per element, simulated on
    /// copies where the two trees do not share values (or the source lies inside the target,
    /// which the type copies first).
    void checkedVectorAssign(Any& target, const Any& source) {
        // A value bound in two places changes in both when assigned through one, so the element
        // by element result is only predictable from copies when no value occurs twice.
        std::vector<const void*> targetValues;
        std::vector<const void*> bothValues;
        std::set<const Any*> holders;
        collect(target, targetValues, holders);
        collect(source, bothValues, holders);
        const bool sourceInsideTarget = contains(targetValues, valueAddress(source));
        bothValues.insert(bothValues.end(), targetValues.begin(), targetValues.end());
        const bool predictable = sourceInsideTarget ? !hasDuplicates(targetValues) : !hasDuplicates(bothValues);
        const std::size_t sourceSize = source.vec().size();
        const void* storage = valueAddress(target);

        AnyVector simulated;
        simulated.reserve(target.vec().capacity());
        simulated = target.vec();
        const AnyVector snapshot(source.vec());
        const bool simulatedThrown = throwsAnyException([&] { simulated = snapshot; });

        const bool thrown = throwsAnyException([&] { target = source; });
        TSFUZZ_CHECK(valueAddress(target) == storage, "a vector assignment keeps the target's storage");
        if (!thrown) {
            TSFUZZ_CHECK(target.vec().size() == sourceSize, "an assigned vector takes the source's length");
        }
        if (predictable) {
            Any expected;
            expected.set(simulated);
            TSFUZZ_CHECK(thrown == simulatedThrown, "vector assignment must fail where std::vector's does");
            TSFUZZ_CHECK(deepDigest(target) == deepDigest(expected),
                         "vector assignment differs from element-wise std::vector assignment");
        }
    }

    void assignScalar() {
        Any& target = node();
        const Any source = scalar();
        checkedAssign(target, source);
    }

    void assignNewContainer() {
        Any& target = node();
        Any source;
        if (mIn.flag()) {
            source.set(Dictionary());
            if (mIn.flag()) {
                source[key()] = scalar();
            }
        } else {
            source.set(AnyVector());
            if (mIn.flag()) {
                source.vec().push_back(scalar());
            }
        }
        checkedAssign(target, source);
    }

    void assignNode() {
        Any& target = node();
        const Any& source = node();
        if (countNodes(source, kMaxNodes) > kMaxNodes / 2) {
            return;
        }
        checkedAssign(target, source);
    }

    void erase() {
        Any& target = node();
        if (labelOf(target.type()) != kDictionary) {
            return;
        }
        Dictionary& dictionary = target.dict();
        const Key k = key();
        const bool had = dictionary.hasEntry(k);
        const std::size_t size = dictionary.size();
        TSFUZZ_CHECK(dictionary.erase(k) == had, "erase reports whether the key was there");
        TSFUZZ_CHECK(dictionary.size() == size - (had ? 1 : 0) && !dictionary.hasEntry(k));
        TSFUZZ_CHECK(!dictionary.erase(k), "a second erase finds nothing");
    }

    void constLookup() {
        const Any& target = node();
        const Key k = key();
        const std::string name = mIn.text();
        const Digest before = deepDigest(target);
        if (labelOf(target.type()) != kDictionary) {
            const bool thrown = throwsAnyException([&] { (void)target[k]; });
            TSFUZZ_CHECK(thrown && deepDigest(target) == before, "const subscript of a non-dictionary");
            return;
        }
        const Dictionary& dictionary = target.dict();
        const std::size_t size = dictionary.size();
        const Any& byAtom = dictionary[k];
        const Any& viaAny = target[k];
        const Any& byText = target[name.c_str()];
        const Key absent("\x01" "absent" "\x01");
        const Any& missing = dictionary[absent];
        TSFUZZ_CHECK(dictionary.size() == size && deepDigest(target) == before, "a const lookup inserted");
        TSFUZZ_CHECK(&byAtom == &viaAny);
        if (dictionary.hasEntry(absent)) {
            return; // the input made that key: no missing key to compare with
        }
        TSFUZZ_CHECK(missing.isEmpty());
        if (const Any* found = dictionary.find(k)) {
            TSFUZZ_CHECK(&byAtom == found, "a const lookup of a present key gives its entry");
        } else {
            TSFUZZ_CHECK(&byAtom == &missing, "every missing key gives the one shared empty entry");
        }
        const Any* textEntry = dictionary.find(Key(name.c_str()));
        TSFUZZ_CHECK(&byText == (textEntry != nullptr ? textEntry : &missing));
    }

    void copyNode() {
        const Any& original = node();
        if (countNodes(original, kMaxNodes) > kMaxNodes / 2) {
            return;
        }
        checkCopy(original);
    }

    void assignWholeDictionary() {
        Any& target = node();
        const Any& source = node();
        if (labelOf(target.type()) != kDictionary || labelOf(source.type()) != kDictionary ||
            countNodes(source, kMaxNodes) > kMaxNodes / 2) {
            return;
        }
        const Digest expected = deepDigest(source);
        Dictionary& dictionary = target.dict();
        dictionary = source.dict();
        TSFUZZ_CHECK(deepDigest(target) == expected, "dictionary assignment must copy the source as it was");
        const Dictionary& same = dictionary;
        dictionary = same;
        TSFUZZ_CHECK(deepDigest(target) == expected, "dictionary self-assignment changed it");
    }

    void bind() {
        Any& target = node();
        HostVariables& variables = mVariables[mIn.below(mVariables.size())];
        const int label = static_cast<int>(mIn.below(kLabelCount));
        withHostType(label, [&](auto tag) {
            using T = typename decltype(tag)::type;
            T& variable = variables.of<T>();
            if constexpr (std::is_same_v<T, Dictionary> || std::is_same_v<T, AnyVector>) {
                // A container must not come to contain the value bound to it.
                std::vector<const void*> values;
                std::set<const Any*> holders;
                collect(Any(BindValue(variable)), values, holders);
                if (holders.count(&target) != 0) {
                    return;
                }
            } else {
                variable = makeValue<T>(mIn);
            }
            target = BindValue(variable);
            TSFUZZ_CHECK(target.type() == &typeOf(label) && valueAddress(target) == &variable,
                         "a bound value refers to the variable");
            if constexpr (kIsScalar<T>) {
                // Writes through the value reach the variable.
                const T written = makeValue<T>(mIn);
                Any source;
                source.set(written);
                target = source;
                TSFUZZ_CHECK(sameBits(variable, written), "an assignment to a bound value must reach the variable");
            }
        });
    }

    void failedBind() {
        Any& target = node();
        if (!mIn.flag()) {
            int* nowhere = nullptr;
            const bool thrown = [&] {
                try {
                    target = BindValue(static_cast<void*>(nowhere), typeid(int));
                } catch (const AnyUnknownTypeException&) {
                    return true;
                }
                return false;
            }();
            TSFUZZ_CHECK(thrown && target.isEmpty(), "binding a null address fails and leaves the value empty");
        } else {
            const bool thrown = [&] {
                try {
                    target = BindValue(mIn);
                } catch (const AnyUnknownTypeException&) {
                    return true;
                }
                return false;
            }();
            TSFUZZ_CHECK(thrown && target.isEmpty(), "binding an unregistered type fails and leaves the value empty");
        }
    }

    void compare() {
        const Any& a = node();
        const Any& b = node();
        const bool equal = a == b;
        TSFUZZ_CHECK(equal == (b == a) && (a != b) == !equal, "== must be symmetric and != its negation");
        if (a.isEmpty() && b.isEmpty()) {
            TSFUZZ_CHECK(equal, "two empty values are equal");
        }
        if (a.type() != b.type()) {
            TSFUZZ_CHECK(!equal, "values of different types are unequal");
        }
        const bool nan = holdsNaN(a) || holdsNaN(b);
        TSFUZZ_CHECK((a == a) == !holdsNaN(a), "a value equals itself unless it holds a NaN");
        if (!nan && deepDigest(a) == deepDigest(b)) {
            TSFUZZ_CHECK(equal, "values with the same types and bytes are equal");
        }
    }

    void sign() {
        const Any& target = node();
        checkSignature(target);
        if (labelOf(target.type()) == kDictionary) {
            Engine viaDictionary;
            target.dict().signature(viaDictionary);
            TSFUZZ_CHECK(viaDictionary.digest() == signatureOf(target));
        }
    }

    void vectorElements() {
        Any& target = node();
        if (labelOf(target.type()) != kVector) {
            return;
        }
        AnyVector& elements = target.vec();
        switch (mIn.below(4)) {
        case 0:
            elements.push_back(scalar());
            break;
        case 1:
            if (!elements.empty()) {
                // The argument is an element of the same vector.
                elements.push_back(elements[mIn.below(elements.size())]);
            }
            break;
        case 2:
            if (!elements.empty()) {
                elements.pop_back();
            }
            break;
        default:
            if (!elements.empty()) {
                const std::size_t index = mIn.below(elements.size());
                const Any& viaInt = target[static_cast<int>(index)];
                const Any& viaUnsigned = target[static_cast<unsigned int>(index)];
                TSFUZZ_CHECK(&viaInt == &elements[index] && &viaUnsigned == &elements[index]);
            }
            break;
        }
    }

    void clearNode() {
        Any& target = node();
        const int label = labelOf(target.type());
        const void* bound = valueAddress(target);
        Digest before{};
        bool check = false;
        if (bound != nullptr) {
            // A copy of the value to compare the variable (or owned value) with afterwards: only
            // a bound variable survives clear, and it must be untouched.
            before = deepDigest(target);
            check = true;
        }
        const bool wasBound = check && isBound(target);
        target.clear();
        TSFUZZ_CHECK(target.isEmpty() && target.type() == nullptr);
        if (wasBound) {
            withHostType(label, [&](auto tag) {
                using T = typename decltype(tag)::type;
                const Any view(BindValue(*static_cast<T*>(const_cast<void*>(bound))));
                TSFUZZ_CHECK(deepDigest(view) == before, "clear must leave a bound variable untouched");
            });
        }
    }

    /// True when the value of `any` is one of the host variables.
    bool isBound(const Any& any) const {
        const void* address = valueAddress(any);
        for (const HostVariables& variables : mVariables) {
            const auto* begin = reinterpret_cast<const unsigned char*>(&variables);
            const auto* at = static_cast<const unsigned char*>(address);
            if (at >= begin && at < begin + sizeof variables) {
                return true;
            }
        }
        return false;
    }

    void swapDictionaries() {
        Any& a = node();
        Any& b = node();
        if (labelOf(a.type()) != kDictionary || labelOf(b.type()) != kDictionary) {
            return;
        }
        // Swapping a dictionary with one nested inside it would make it contain itself.
        std::vector<const void*> aValues;
        std::vector<const void*> bValues;
        std::set<const Any*> holders;
        collect(a, aValues, holders);
        collect(b, bValues, holders);
        if (&a.dict() != &b.dict() && (contains(aValues, &b.dict()) || contains(bValues, &a.dict()))) {
            return;
        }
        const Digest aBefore = deepDigest(a);
        const Digest bBefore = deepDigest(b);
        swap(a.dict(), b.dict());
        if (&a.dict() == &b.dict()) {
            TSFUZZ_CHECK(deepDigest(a) == aBefore, "swapping a dictionary with itself changed it");
        } else {
            TSFUZZ_CHECK(deepDigest(a) == bBefore && deepDigest(b) == aBefore, "swap exchanges the entries");
        }
    }

    /// Text operations whose argument lives in the value they change.
    void ownText() {
        Any& target = node();
        if (labelOf(target.type()) != kString) {
            return;
        }
        const std::string text = target.ref<std::string>();
        const std::string cText(text.c_str());
        switch (mIn.below(3)) {
        case 0:
            target.reset(target.ref<std::string>().c_str());
            TSFUZZ_CHECK(target.type() == &typeOf(kString) && target.ref<std::string>() == cText);
            break;
        case 1:
            target = target.ref<std::string>().c_str();
            TSFUZZ_CHECK(target.type() == &typeOf(kString) && target.ref<std::string>() == cText);
            break;
        default: {
            const int label = static_cast<int>(mIn.below(13));
            // An owned string parsed as a string keeps its storage, and a failed read keeps its
            // text; otherwise parse reads into new storage. A copy owns, so it does the same.
            Any expected;
            if (label == kString && !isBound(target)) {
                expected = target;
            }
            target.parse(target.ref<std::string>(), typeOf(label));
            expected.parse(text, typeOf(label));
            TSFUZZ_CHECK(deepDigest(target) == deepDigest(expected), "parse of the value's own text");
            break;
        }
        }
    }

    FuzzInput& mIn;
    // Host variables first: they outlive every value bound to them.
    std::array<HostVariables, 2> mVariables;
    std::array<Any, kRoots> mRoots;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    Interpreter interpreter(in);
    for (int step = 0; step < kMaxSteps && interpreter.step(); ++step) {
    }
    interpreter.finish();
    return 0;
}
