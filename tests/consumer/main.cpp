// Uses the installed library the way a host does; exits non-zero if anything is off.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <iostream>
#include <sstream>
#include <string>

int main() {
    using namespace Tessel::Dictionary;
    int failures = 0;
    auto check = [&failures](bool ok, const char* what) {
        if (!ok) {
            std::cerr << "consumer check failed: " << what << '\n';
            ++failures;
        }
    };

    check(TypeAtom("int32") == gTypeLabelInt32, "host and library share the type-name table");

    int width = 0;
    Any bound{BindValue(width)};
    const Any source(2048.7);
    bound = source;
    check(width == 2048, "a double assigned to a bound int converts");

    try {
        Any text("text");
        text = source;
        check(false, "a double assigned to a string throws");
    } catch (const AnyCastException& e) {
        check(e.userMessage().find("Don't know how to cast") == 0, "the cast error has its message");
    }

    Tessel::Base::SkeinHash::Engine engine;
    engine.update("abc", 3);
    std::ostringstream digest;
    digest << engine.digest();
    check(digest.str() == "bc92c7943ebfa32889b279161fede6b364f9c504434a84fa1d12f52127ef5487",
          "Skein-256 of abc");

    std::cout << (failures == 0 ? "consumer: all checks passed" : "consumer: FAILED") << '\n';
    return failures == 0 ? 0 : 1;
}
