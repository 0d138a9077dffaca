#include "transport/word_fifo.h"

#include "shell/output.h"

namespace kestrel {

WordFifo::WordFifo(uint32_t capacity) : values_(capacity) {}

bool WordFifo::push(uint32_t value) {
    std::lock_guard lock(mutex_);
    const uint32_t mask = static_cast<uint32_t>(values_.size()) - 1;
    if (((mask + 1 - write_ + read_ - 1) & mask) <= 1) return false;
    values_[write_] = value;
    write_ = (write_ + 1) & mask;
    ++write_count_;
    return true;
}

uint32_t WordFifo::pop() {
    std::unique_lock lock(mutex_);
    if (read_count_ == write_count_) {
        lock.unlock();
        output_write("Nothing in FIFO, waiting for a push\n");
        return 0;
    }
    const uint32_t value = values_[read_];
    read_ = (read_ + 1) & (static_cast<uint32_t>(values_.size()) - 1);
    ++read_count_;
    return value;
}

uint32_t WordFifo::count() const {
    std::lock_guard lock(mutex_);
    return write_count_ - read_count_;
}

}  // namespace kestrel
