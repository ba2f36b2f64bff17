#ifndef TESSEL_TOOLS_TSDICT_TSINPUTFILE_H
#define TESSEL_TOOLS_TSDICT_TSINPUTFILE_H

// A file named on the command line, or standard input for "-", read in whole pieces or lines.

#include <cstddef>
#include <cstdio>
#include <string>

namespace Tessel::Tools {

/// One open input. Every failure throws BadInput naming the file and the system's reason.
class InputFile {
public:
    /// How the input will be read: in large pieces straight into the caller's buffer (no
    /// buffering of its own), or line by line.
    enum class Mode { kPieces, kLines };

    /// Opens `name` ("-" is standard input). @throws BadInput when it cannot be opened.
    InputFile(const std::string& name, Mode mode);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// Reads up to `size` bytes into `buffer`; fewer only at the end, 0 once it is reached.
    std::size_t read(unsigned char* buffer, std::size_t size);
    /// The next line without its line break into `line`; false at the end.
    bool readLine(std::string& line);
    /// The text of the whole input.
    std::string readAll();

private:
    [[noreturn]] void failRead() const;

    std::string name_;
    std::FILE* file_;
    bool ownsFile_;
};

} // namespace Tessel::Tools

#endif
