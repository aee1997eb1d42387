// Random streams into the example H.264 decoder (examples/h264dec). The first
// byte chooses how the input is presented: as a whole Annex B stream, or
// behind valid parameter sets of a 48x32 picture as the payload of an IDR
// slice, or of an IDR slice followed by P slices. Pictures are limited to
// 32x32 macroblocks so that each input decodes quickly.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "h264dec.h"

namespace {

// Sequence and picture parameter sets of a 48x32 Baseline stream.
const uint8_t kParameterSets[] = {
    0, 0, 0, 1, 0x67, 0x42, 0xc0, 0x0a, 0xd9, 0x0d, 0x6c, 0x04, 0x40, 0x00, 0x00, 0x03, 0x00,
    0x40, 0x00, 0x00, 0x0c, 0xa3, 0xc4, 0x89, 0x92, 0, 0, 0, 1, 0x68, 0xcb, 0x81, 0x12, 0xc8};

// Where the output samples go, so that reading them is not optimised away.
volatile unsigned outputSum;

void appendNal(std::vector<uint8_t>& s, uint8_t header, const uint8_t* data, size_t size) {
    const uint8_t start[4] = {0, 0, 1, header};
    s.insert(s.end(), start, start + 4);
    s.insert(s.end(), data, data + size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const int mode = data[0] & 3;
    ++data;
    --size;
    std::vector<uint8_t> stream;
    if (mode != 0) stream.assign(kParameterSets, kParameterSets + sizeof kParameterSets);
    switch (mode) {
    case 0:
    case 1:
        stream.insert(stream.end(), data, data + size);
        break;
    case 2:
        appendNal(stream, 0x65, data, size);
        break;
    default: {
        // IDR slice, then the rest cut into P slices at every 0xFF byte.
        size_t half = size / 2;
        appendNal(stream, 0x65, data, half);
        size_t begin = half;
        for (size_t i = half; i <= size; ++i) {
            if (i == size || data[i] == 0xFF) {
                appendNal(stream, 0x41, data + begin, i - begin);
                begin = i + 1;
            }
        }
        break;
    }
    }
    h264dec::Options options;
    options.maxMacroblocks = 32 * 32;
    h264dec::Decoder decoder(options);
    unsigned sum = 0;
    decoder.setOutput([&](const h264dec::Frame& f) {
        for (int y = 0; y < f.height; ++y) sum += f.plane[0][y * f.stride[0] + f.width - 1];
    });
    decoder.decodeStream(stream.data(), stream.size());
    decoder.flush();
    outputSum = sum;  // keeps the reads of the output
    return 0;
}
