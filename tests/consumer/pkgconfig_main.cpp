// Built with the flags of tsdictionary.pc alone, without CMake.
#include <foundation/tsnameatom.h>

#include <iostream>

int main() {
    const Tessel::Base::NameAtom<Tessel::Dictionary::Any> key("width");
    std::cout << "pkg-config consumer: " << key << '\n';
    return key.getString() == "width" ? 0 : 1;
}
