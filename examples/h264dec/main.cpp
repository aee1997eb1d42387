// h264dec INPUT.264 OUTPUT.yuv: decodes an H.264 Annex B stream into raw
// planar 4:2:0 frames in output order ("-" for standard output).
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include "h264dec.h"

namespace {

bool readFile(const char* path, std::vector<uint8_t>& data) {
    FILE* f = std::strcmp(path, "-") == 0 ? stdin : std::fopen(path, "rb");
    if (!f) return false;
    uint8_t buf[1 << 16];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.insert(data.end(), buf, buf + n);
    bool ok = !std::ferror(f);
    if (f != stdin) std::fclose(f);
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    bool quiet = false;
    int arg = 1;
    if (arg < argc && std::strcmp(argv[arg], "-q") == 0) {
        quiet = true;
        ++arg;
    }
    if (argc - arg != 2) {
        std::fprintf(stderr, "usage: h264dec [-q] INPUT.264 OUTPUT.yuv   (\"-\" for stdin / stdout)\n");
        return 2;
    }
    std::vector<uint8_t> stream;
    if (!readFile(argv[arg], stream)) {
        std::fprintf(stderr, "h264dec: cannot read %s\n", argv[arg]);
        return 2;
    }
    FILE* out = std::strcmp(argv[arg + 1], "-") == 0 ? stdout : std::fopen(argv[arg + 1], "wb");
    if (!out) {
        std::fprintf(stderr, "h264dec: cannot write %s\n", argv[arg + 1]);
        return 2;
    }

    bool writeFailed = false;
    h264dec::Decoder decoder;
    decoder.setOutput([&](const h264dec::Frame& f) {
        // Planar I420, chroma rounded up for odd sizes.
        const int cw = (f.width + 1) / 2, ch = (f.height + 1) / 2;
        for (int y = 0; y < f.height; ++y)
            writeFailed |= std::fwrite(f.plane[0] + y * f.stride[0], 1, size_t(f.width), out) != size_t(f.width);
        for (int c = 1; c < 3; ++c)
            for (int y = 0; y < ch; ++y)
                writeFailed |= std::fwrite(f.plane[c] + y * f.stride[c], 1, size_t(cw), out) != size_t(cw);
    });

    auto start = std::chrono::steady_clock::now();
    h264dec::Status status = decoder.decodeStream(stream.data(), stream.size());
    decoder.flush();
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (out != stdout) writeFailed |= std::fclose(out) != 0;

    if (!quiet)
        std::fprintf(stderr, "h264dec: %d frames in %.3f s (%.1f fps)\n", decoder.framesOut(), seconds,
                     seconds > 0 ? decoder.framesOut() / seconds : 0.0);
    if (writeFailed) {
        std::fprintf(stderr, "h264dec: write error\n");
        return 2;
    }
    if (status == h264dec::Status::Unsupported) {
        std::fprintf(stderr, "h264dec: %s\n", decoder.firstError().c_str());
        return 3;
    }
    if (!decoder.firstError().empty()) {
        std::fprintf(stderr, "h264dec: %s\n", decoder.firstError().c_str());
        return 1;
    }
    return 0;
}
