// Errors raised while decoding. Both are caught at the NAL unit level:
// corrupt data abandons the rest of the slice, unsupported features stop
// the stream.
#ifndef H264DEC_ERROR_H
#define H264DEC_ERROR_H

#include <stdexcept>
#include <string>

namespace h264dec {

struct DecodeError : std::runtime_error {
    explicit DecodeError(const std::string& what) : std::runtime_error(what) {}
};

struct UnsupportedError : std::runtime_error {
    explicit UnsupportedError(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace h264dec

#endif
