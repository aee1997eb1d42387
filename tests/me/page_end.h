// A block placed so that its last byte is the last readable byte before an
// inaccessible page: a kernel that reads (or writes) past the end of the
// block it is allowed to touch faults instead of passing silently.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace mox::test {

class PageEnd {
public:
    // rows x rowBytes bytes, rows packed rowBytes apart, filled with `fill`.
    PageEnd(int rowBytes, int rows, uint8_t fill = 0x5A) : rowBytes_(rowBytes) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t bytes = static_cast<size_t>(rowBytes) * rows;
        dataPages_ = (bytes + page - 1) / page * page;
        size_ = dataPages_ + page;
        void* m = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base_ = m == MAP_FAILED ? nullptr : static_cast<uint8_t*>(m);
        if (!base_) return;
        mprotect(base_ + dataPages_, page, PROT_NONE);
        first_ = base_ + dataPages_ - bytes;
        std::memset(first_, fill, bytes);
    }
    ~PageEnd() {
        if (base_) munmap(base_, size_);
    }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;

    bool ok() const { return base_ != nullptr; }
    template <class T = uint8_t>
    T* ptr() const {
        return reinterpret_cast<T*>(first_);
    }
    int step() const { return rowBytes_; }

private:
    int rowBytes_;
    size_t dataPages_ = 0, size_ = 0;
    uint8_t* base_ = nullptr;
    uint8_t* first_ = nullptr;
};

}  // namespace mox::test
