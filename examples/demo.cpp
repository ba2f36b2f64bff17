// A short walk through TsDictionary as a host application would use it.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>

#include <iostream>
#include <string>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::NameAtom;

void section(const char* title) {
    std::cout << "\n== " << title << " ==\n";
}

std::string labelOf(const Any& value) {
    return value.isEmpty() ? "empty" : value.type()->label().getString();
}

void showNames() {
    section("Interned names");
    const NameAtom<Any> width("width");
    const NameAtom<Any> height("height");
    const NameAtom<Any> widthAgain(std::string("width"));
    std::cout << "'" << width << "' is name #" << width.getIndex() << ", '" << height << "' is name #"
              << height.getIndex() << "\n"
              << "interning 'width' again gives the same name: " << std::boolalpha
              << (width == widthAgain) << "\n";
}

void showValues() {
    section("Values that keep their type");
    Any width;
    width.set(1920);
    std::cout << "width holds an " << labelOf(width) << ": " << width.as<int>() << "\n";

    Any measured;
    measured.set(2048.7);
    width = measured;
    std::cout << "after assigning the double 2048.7 it is still an " << labelOf(width) << ": "
              << width.as<int>() << "\n";

    int hostVariable = 0;
    Any bound{BindValue(hostVariable)};
    bound = width;
    std::cout << "a value bound to a host variable writes through: the variable is now "
              << hostVariable << "\n";

    long long frames = 0;
    Any boundFrames{BindValue(frames)};
    boundFrames = measured;
    std::cout << "a long long variable binds as '" << labelOf(boundFrames) << "' and receives " << frames
              << "\n";
}

void showSignature() {
    section("Content signature (Skein-256)");
    Tessel::Base::SkeinHash::Engine engine;
    engine.update("abc", 3);
    std::cout << "Skein-256 of \"abc\": " << engine.digest() << "\n";
}

void showError() {
    section("Errors carry readable reports");
    Any name("a string value");
    Any number;
    number.set(42);
    try {
        name = number;
    } catch (const AnyCastException& error) {
        std::cout << "assigning an int to a string fails: " << error.userMessage() << "\n\n";
        error.report(std::cout);
    }
}

} // namespace

int main() {
    std::cout << "TsDictionary demo\n";
    showNames();
    showValues();
    showSignature();
    showError();
    return 0;
}
