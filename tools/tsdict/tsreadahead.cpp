#include "tsreadahead.h"

namespace Tessel::Tools {

ReadAhead::ReadAhead(InputFile& input, std::size_t pieceBytes)
    : input_(input), pieces_{std::vector<unsigned char>(pieceBytes), std::vector<unsigned char>(pieceBytes)},
      reader_(&ReadAhead::readPieces, this) {}

ReadAhead::~ReadAhead() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    reader_.join();
}

void ReadAhead::readPieces() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return wanted_ || stopping_; });
        if (stopping_)
            return;
        wanted_ = false;
        std::vector<unsigned char>& piece = pieces_[filling_];
        lock.unlock(); // the consumer works on the other piece meanwhile
        std::size_t count = 0;
        std::exception_ptr failure;
        try {
            count = input_.read(piece.data(), piece.size());
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        count_ = count;
        failure_ = failure;
        filled_ = true;
        changed_.notify_all();
    }
}

ReadAhead::Piece ReadAhead::next() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return filled_; });
    filled_ = false;
    if (failure_)
        std::rethrow_exception(failure_);
    const Piece piece{pieces_[filling_].data(), count_};
    if (count_ != 0) { // start on the other piece while the caller uses this one
        filling_ = 1 - filling_;
        wanted_ = true;
        changed_.notify_all();
    }
    return piece;
}

} // namespace Tessel::Tools
