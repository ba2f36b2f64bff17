#include "tsinputfile.h"

#include "tscommandline.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Tessel::Tools {

InputFile::InputFile(const std::string& name, Mode mode)
    : name_(name), file_(name == "-" ? stdin : std::fopen(name.c_str(), "rb")), ownsFile_(name != "-") {
    if (file_ == nullptr)
        throw BadInput("cannot open " + printable(name) + ": " + std::strerror(errno));
    // Large reads go straight into the caller's buffer instead of through a second copy.
    if (mode == Mode::kPieces)
        std::setvbuf(file_, nullptr, _IONBF, 0);
}

InputFile::~InputFile() {
    if (ownsFile_)
        std::fclose(file_);
}

void InputFile::failRead() const {
    throw BadInput("cannot read " + printable(name_) + ": " + std::strerror(errno));
}

std::size_t InputFile::read(unsigned char* buffer, std::size_t size) {
    errno = 0;
    const std::size_t count = std::fread(buffer, 1, size, file_);
    if (count < size && std::ferror(file_))
        failRead();
    return count;
}

bool InputFile::readLine(std::string& line) {
    char* text = nullptr;
    std::size_t capacity = 0;
    errno = 0;
    const ssize_t length = ::getline(&text, &capacity, file_);
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    if (length < 0) {
        if (std::ferror(file_))
            failRead();
        return false;
    }
    line.assign(text, static_cast<std::size_t>(length));
    if (!line.empty() && line.back() == '\n')
        line.pop_back();
    return true;
}

std::string InputFile::readAll() {
    std::string text;
    char piece[65536];
    std::size_t count = 0;
    while ((count = read(reinterpret_cast<unsigned char*>(piece), sizeof piece)) != 0)
        text.append(piece, count);
    return text;
}

} // namespace Tessel::Tools
