// Fuzz target: equal content gives equal canonical signatures, different content different ones.
// Input: a flags byte, the index of the leaf to change, then the bytes of a random tree. The tree
// is built twice, once with that leaf changed: the signatures must differ exactly when the change
// alters content (a NaN swapped for another NaN does not). When the flags byte is 'F',
// two child processes also build the tree, one after interning its keys forwards and one
// backwards: their signatures must agree.

#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::SkeinHash::Digest;

struct Tree {
    const std::uint8_t* data;
    std::size_t size;
    int target;           // the leaf to change, counted in building order
    std::string salt;     // starts every key text
    int leaf = 0;
    bool changed = false; // the change altered content
    std::size_t at = 2;

    std::uint8_t next() { return at < size ? data[at++] : 0; }
    std::uint32_t word() { return next() | next() << 8U | next() << 16U | std::uint32_t{next()} << 24U; }

    Any build(int depth) {
        Any value;
        const int op = next() % (depth < 6 ? 8 : 6);
        const bool change = op < 6 && leaf++ == target;
        changed = changed || change;
        if (op == 0) value.set(static_cast<int>(word() ^ change));                    // another number
        if (op == 1) change ? value.set(static_cast<int>(word())) : value.set(word()); // another label
        if (op == 2) {
            double number = std::ldexp(static_cast<double>(word()), next() - 140);
            number = next() % 2 != 0 ? std::numeric_limits<double>::quiet_NaN() : number;
            changed = changed && !(change && std::isnan(number));                    // NaN stays NaN
            value.set(change ? -number : number);                                     // -0.0 is no 0.0
        }
        if (op == 3) value.set(std::string(next() % 6U, static_cast<char>(next())) + (change ? "x" : ""));
        if (op == 4) value.set(Tessel::Base::TimeBase(word(), word() ^ change)); // 25/1 is no 50/2
        if (op == 5 && change) value.set(0);                                       // empty is no zero
        if (op == 6) {
            value.set(std::vector<Any>());
            for (int i = next() % 4; i > 0; --i) value.vec().push_back(build(depth + 1));
        }
        for (int i = op == 7 ? (value.set(Dictionary()), next() % 4) : 0; i > 0; --i) {
            value[key(next() % 8, i).c_str()] = build(depth + 1);
        }
        return value;
    }
    std::string key(int k, int i) const { return salt + std::to_string(k) + "." + std::to_string(i); }
};

// The tree's signature from a child process that first interns the keys backwards or forwards.
// Neither order reaches this process, so the keys are new to every child.
Digest signInChild(const std::uint8_t* data, std::size_t size, bool backwards) {
    int ends[2] = {-1, -1};
    pid_t child = -1;
    if (pipe(ends) != 0 || (child = fork()) < 0) std::abort();
    Tree tree{data, size, -1, "r."};
    if (child == 0) {
        for (int n = 0; n < 32; ++n) {
            const Tessel::Base::NameAtom<Any> atom(tree.key(backwards ? 7 - n / 4 : n / 4, n % 4 + 1));
        }
        const Digest digest = canonicalSignature(tree.build(0));
        _exit(write(ends[1], digest.bytes.data(), 32) == 32 ? 0 : 1);
    }
    Digest digest;
    int status = 1;
    if (read(ends[0], digest.bytes.data(), 32) != 32 || waitpid(child, &status, 0) != child || status != 0) {
        std::abort();
    }
    close(ends[0]);
    close(ends[1]);
    return digest;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Tree plain{data, size, -1, "k."};
    Tree changed{data, size, size > 1 ? data[1] : -1, "k."};
    if ((canonicalSignature(plain.build(0)) == canonicalSignature(changed.build(0))) == changed.changed) {
        std::abort();
    }
    if (size > 1 && data[0] == 'F' && signInChild(data, size, false) != signInChild(data, size, true)) {
        std::abort();
    }
    return 0;
}
