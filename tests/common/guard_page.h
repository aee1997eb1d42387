// Memory that ends at an unreadable page: any read past the last byte the
// caller declared readable faults at once (in every build, not only under
// AddressSanitizer). Used to prove a decoder's look-ahead limit; with
// kAfterPage the unreadable page comes first and the memory starts right
// after it, to prove how far back a backward reader looks.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace mox::test {

class GuardPage {
public:
    enum Side { kBeforePage, kAfterPage };
    // `bytes` readable bytes whose last one sits just before a PROT_NONE page
    // (kBeforePage) or whose first one sits just after it (kAfterPage).
    explicit GuardPage(size_t bytes, Side side = kBeforePage) : bytes_(bytes) {
        size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_t dataPages = (bytes + page - 1) / page + 1;
        size_ = (dataPages + 1) * page;
        void* m = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::runtime_error("mmap");
        base_ = static_cast<uint8_t*>(m);
        size_t guard = side == kBeforePage ? dataPages * page : 0;
        if (mprotect(base_ + guard, page, PROT_NONE) != 0) throw std::runtime_error("mprotect");
        data_ = side == kBeforePage ? base_ + dataPages * page - bytes : base_ + page;
    }
    ~GuardPage() { munmap(base_, size_); }
    GuardPage(const GuardPage&) = delete;
    GuardPage& operator=(const GuardPage&) = delete;

    uint8_t* data() const { return data_; }
    size_t size() const { return bytes_; }
    template <class T>
    T* as() const { return reinterpret_cast<T*>(data_); }

private:
    size_t bytes_, size_;
    uint8_t* base_;
    uint8_t* data_;
};

}  // namespace mox::test
