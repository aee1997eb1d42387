// A small H.264 decoder for Baseline and Constrained Baseline streams
// (CAVLC, I and P slices, 4:2:0, 8 bits, progressive frames), built on the
// moxvc primitives for every expensive step.
//
// Usage: feed an Annex B byte stream with decodeStream() (or NAL units one
// by one with decodeNal()), then call flush(); every decoded frame reaches
// the output callback in output order, cropped as the stream asks.
#ifndef H264DEC_H264DEC_H
#define H264DEC_H264DEC_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace h264dec {

// One output frame, valid during the callback only.
struct Frame {
    int width = 0, height = 0;            // luma size after cropping
    const uint8_t* plane[3] = {};         // Y, U, V at the cropped origin
    int stride[3] = {};                   // bytes between rows
    int poc = 0;                          // picture order count
};

enum class Status {
    Ok,           // everything decoded
    Corrupt,      // some data was damaged; decoding continued after it
    Unsupported,  // the stream uses a feature this decoder does not have
};

struct Options {
    // Largest accepted picture in macroblocks; 0 accepts any size up to the
    // H.264 level limits' order of magnitude (139264 macroblocks).
    int maxMacroblocks = 0;
};

class Decoder {
public:
    explicit Decoder(const Options& options = Options());
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    void setOutput(std::function<void(const Frame&)> output);

    // Splits an Annex B byte stream at its start codes and decodes every NAL
    // unit. Stops at the first unsupported feature.
    Status decodeStream(const uint8_t* data, size_t size);
    // One NAL unit without its start code (emulation prevention bytes still in).
    Status decodeNal(const uint8_t* data, size_t size);
    // Finishes the last picture and outputs every frame still held back.
    void flush();

    // The first error met, or empty.
    const std::string& firstError() const;
    // Frames passed to the output so far.
    int framesOut() const;

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace h264dec

#endif
