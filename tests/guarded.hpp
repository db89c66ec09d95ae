// SPDX-License-Identifier: Apache-2.0
// Buffers that end at a page boundary, followed by a page without access:
// a kernel that reads or writes one element past the end faults at once,
// whatever the alignment of the start.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>

namespace zt {

template <class T>
class Guarded {
public:
    explicit Guarded(size_t n) : n_(n) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        span_ = (n * sizeof(T) + page - 1) / page * page + page;
        base_ = static_cast<char*>(mmap(nullptr, span_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_ + span_ - page, page, PROT_NONE);
        p_ = reinterpret_cast<T*>(base_ + span_ - page - n * sizeof(T));
    }
    ~Guarded() { munmap(base_, span_); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;
    T* data() { return p_; }
    const T* data() const { return p_; }
    size_t size() const { return n_; }

private:
    char* base_;
    size_t span_;
    size_t n_;
    T* p_;
};

}  // namespace zt
