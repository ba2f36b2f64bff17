// Writes the files the tsdict command tests read into TSDICT_FILES (the build's directory for
// them, whatever the working directory). The digest of the long file, which tsdict reads in
// several pieces, is computed here in one feed: the reference its piecewise reading must match.

#include <foundation/tsskeinhash.h>

#include <cstddef>
#include <fstream>
#include <string>

namespace {

const std::string kDirectory = TSDICT_FILES "/";

bool writeFile(const std::string& name, const std::string& bytes) {
    std::ofstream file(kDirectory + name, std::ios::binary);
    file << bytes;
    return static_cast<bool>(file.flush());
}

} // namespace

int main() {
    // Three whole 1 MiB reads and a short one.
    std::string longBytes((std::size_t{3} << 20) + 17, '\0');
    for (std::size_t i = 0; i < longBytes.size(); ++i)
        longBytes[i] = static_cast<char>(i * 7 + 3);
    Tessel::Base::SkeinHash::Engine engine;
    engine.update(longBytes.data(), longBytes.size());
    std::ofstream list(kDirectory + "long.list");
    list << engine.digest() << "  long\n";
    const bool written = static_cast<bool>(list.flush()) && writeFile("long", longBytes) &&
                         writeFile("abc", "abc") && writeFile("empty", "") && writeFile("line\nbreak", "abc");
    return written ? 0 : 1;
}
