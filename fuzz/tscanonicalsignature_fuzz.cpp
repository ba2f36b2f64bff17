// Fuzz target: equal content gives equal canonical signatures, different content different ones.
// Input: a flags byte, the index of the leaf to change, then the bytes of a random tree, which is
// built twice, once with that leaf changed: the signatures differ exactly when the change alters
// content (a NaN swapped for another NaN does not). With flags 'F' two child processes also build
// it, one interning its new keys forwards and one backwards: their signatures must agree. The tree
// also goes through the typed JSON form and must come back with the same signature.

#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>
#include <foundation/tstimebase.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;

struct Tree {
    const std::uint8_t* data;
    std::size_t size;
    int target;           // the leaf to change, counted in building order
    const char* salt;     // starts every key text
    int leaf = 0;
    bool changed = false; // the change altered content
    std::size_t at = 2;

    std::uint8_t next() { return at < size ? data[at++] : 0; }
    std::uint32_t word() { return next() | next() << 8U | next() << 16U | std::uint32_t{next()} << 24U; }
    std::string key(int k, int i) const { return salt + std::to_string(k) + "." + std::to_string(i); }

    Any build(int depth) {
        Any value;
        const int op = next() % (depth < 6 ? 8 : 6);
        const bool change = op < 6 && leaf++ == target;
        changed = changed || change;
        if (op == 0) value.set(static_cast<int>(word() ^ change));                    // another number
        if (op == 1) change ? value.set(static_cast<int>(word())) : value.set(word()); // another label
        if (op == 2) {
            const double number = next() % 2 != 0 ? std::numeric_limits<double>::quiet_NaN()
                                                  : std::ldexp(static_cast<double>(word()), next() - 140);
            changed = changed && !(change && std::isnan(number));                    // NaN stays NaN
            value.set(change ? -number : number);                                     // -0.0 is no 0.0
        }
        if (op == 3) value.set(std::string(next() % 6U, static_cast<char>(next())) + (change ? "x" : ""));
        if (op == 4) value.set(Tessel::Base::TimeBase(word(), word() ^ change)); // 25/1 is no 50/2
        if (op == 5 && change) value.set(0);                                       // empty is no zero
        for (int i = op == 6 ? (value.set(std::vector<Any>()), next() % 4) : 0; i > 0; --i) {
            value.vec().push_back(build(depth + 1));
        }
        for (int i = op == 7 ? (value.set(Dictionary()), next() % 4) : 0; i > 0; --i) {
            value[key(next() % 8, i).c_str()] = build(depth + 1);
        }
        return value;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Tree plain{data, size, -1, "k."};
    Tree changed{data, size, size > 1 ? data[1] : -1, "k."};
    const Any value = plain.build(0);
    const Tessel::Base::SkeinHash::Digest signature = canonicalSignature(value);
    if ((signature == canonicalSignature(changed.build(0))) == changed.changed) std::abort();
    try { // the typed JSON form keeps the content, or refuses a string that is not UTF-8
        if (canonicalSignature(fromJson(toJson(value))) != signature) std::abort();
    } catch (const JsonException& e) {
        const std::string* reason = e.getValue<std::string>("Reason");
        if (reason == nullptr || reason->find("UTF-8") == std::string::npos) std::abort();
    }
    Tessel::Base::SkeinHash::Digest inChild[2];
    for (int backwards = 0; size > 1 && data[0] == 'F' && backwards < 2; ++backwards) {
        int ends[2];
        pid_t child = -1;
        if (pipe(ends) != 0 || (child = fork()) < 0) std::abort();
        if (child == 0) { // keys new to the child: this process never interns them
            Tree tree{data, size, -1, "child."};
            for (int n = 0; n < 32; ++n) {
                const Tessel::Base::NameAtom<Any> key(tree.key(backwards ? 7 - n / 4 : n / 4, n % 4 + 1));
            }
            _exit(write(ends[1], canonicalSignature(tree.build(0)).bytes.data(), 32) == 32 ? 0 : 1);
        }
        // libFuzzer's periodic timeout alarm interrupts blocking calls: retry them on EINTR.
        std::size_t got = 0;
        for (ssize_t n = 0; got < 32 && (n = read(ends[0], inChild[backwards].bytes.data() + got,
                                                  32 - got)) != 0;) {
            if (n < 0 && errno != EINTR) std::abort();
            got += n > 0 ? static_cast<std::size_t>(n) : 0;
        }
        int status = 1;
        pid_t waited = -1;
        while ((waited = waitpid(child, &status, 0)) < 0 && errno == EINTR) {
        }
        if (got != 32 || waited != child) std::abort();
        close(ends[0]);
        close(ends[1]);
        if (status != 0 || (backwards == 1 && inChild[0] != inChild[1])) std::abort();
    }
    return 0;
}
