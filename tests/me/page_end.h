// A block placed so that its last byte is the last readable byte before an
// inaccessible page: a kernel that reads (or writes) past the end of the
// block it is allowed to touch faults instead of passing silently.
#pragma once

#include <cstdint>
#include <cstring>

#include "common/guard_page.h"

namespace mox::test {

class PageEnd : public GuardPage {
public:
    // rows x rowBytes bytes, rows packed rowBytes apart, filled with `fill`.
    PageEnd(int rowBytes, int rows, uint8_t fill = 0x5A)
        : GuardPage(static_cast<size_t>(rowBytes) * rows), rowBytes_(rowBytes) {
        std::memset(data(), fill, size());
    }

    bool ok() const { return true; }
    template <class T = uint8_t>
    T* ptr() const {
        return as<T>();
    }
    int step() const { return rowBytes_; }

private:
    int rowBytes_;
};

}  // namespace mox::test
