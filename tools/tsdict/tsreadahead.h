#ifndef TESSEL_TOOLS_TSDICT_TSREADAHEAD_H
#define TESSEL_TOOLS_TSDICT_TSREADAHEAD_H

// Reading an input one piece ahead of its consumer, on a second thread.

#include "tsinputfile.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Tessel::Tools {

/// Reads an input in pieces while the caller works on the previous one. Copying a large file out
/// of the page cache costs about a tenth of hashing it; on a second core that copy is free. Two
/// pieces are all the memory an input of any size takes.
class ReadAhead {
public:
    /// A piece of the input: `size` bytes at `data`, valid until the next call to next().
    struct Piece {
        const unsigned char* data;
        std::size_t size;
    };

    /// Starts reading `input` in pieces of `pieceBytes`; `input` must outlive this object.
    ReadAhead(InputFile& input, std::size_t pieceBytes);
    /// Waits for a read in progress to finish.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// The next piece; an empty one at the end of the input.
    /// @throws BadInput as InputFile::read does, when the piece could not be read.
    Piece next();

private:
    void readPieces();

    InputFile& input_;
    std::vector<unsigned char> pieces_[2];
    std::mutex mutex_;
    std::condition_variable changed_;
    int filling_ = 0;         // the piece the reader fills next
    bool wanted_ = true;      // the reader should fill it
    bool filled_ = false;     // it holds the outcome of a read
    bool stopping_ = false;
    std::size_t count_ = 0;   // bytes of the read that filled it
    std::exception_ptr failure_;
    std::thread reader_;      // last: starts once everything it uses exists
};

} // namespace Tessel::Tools

#endif
