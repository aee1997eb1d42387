// Runs the decoder over damaged versions of the bundled clips: truncated,
// with flipped bits, overwritten bytes, dropped or repeated NAL units, and
// over random data. The decoder must neither crash (the sanitizer build
// checks every access) nor hang; what it outputs does not matter.
//
//   h264dec_damage DATA_DIR
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <string>
#include <vector>

#include "h264dec.h"

namespace {

struct Rng {
    uint64_t s;
    uint32_t next() {
        s ^= s << 13;
        s ^= s >> 7;
        s ^= s << 17;
        return uint32_t(s >> 16);
    }
    size_t below(size_t n) { return n ? next() % n : 0; }
};

std::vector<uint8_t> readFile(const std::string& path) {
    std::vector<uint8_t> data;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return data;
    uint8_t buf[1 << 16];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.insert(data.end(), buf, buf + n);
    std::fclose(f);
    return data;
}

// Offsets of the NAL units' start codes.
std::vector<size_t> nalStarts(const std::vector<uint8_t>& s) {
    std::vector<size_t> starts;
    for (size_t i = 0; i + 2 < s.size(); ++i)
        if (s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1) starts.push_back(i);
    return starts;
}

int decodeOnce(const std::vector<uint8_t>& stream) {
    h264dec::Options options;
    options.maxMacroblocks = 80 * 45;  // up to 720p
    h264dec::Decoder decoder(options);
    uint64_t checksum = 0;
    decoder.setOutput([&](const h264dec::Frame& f) {
        // Touch every output sample so that reads of bad memory show up.
        for (int y = 0; y < f.height; ++y)
            for (int x = 0; x < f.width; ++x) checksum += f.plane[0][y * f.stride[0] + x];
        for (int c = 1; c < 3; ++c)
            for (int y = 0; y < (f.height + 1) / 2; ++y)
                for (int x = 0; x < (f.width + 1) / 2; ++x) checksum += f.plane[c][y * f.stride[c] + x];
    });
    decoder.decodeStream(stream.data(), stream.size());
    decoder.flush();
    return decoder.framesOut() + int(checksum & 1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: h264dec_damage DATA_DIR\n");
        return 2;
    }
    const std::string dir = argv[1];
    std::vector<std::string> clips;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            std::string name = e->d_name;
            if (name.size() > 4 && name.compare(name.size() - 4, 4, ".264") == 0) clips.push_back(dir + "/" + name);
        }
        closedir(d);
    }
    if (clips.empty()) {
        std::fprintf(stderr, "no clips in %s\n", dir.c_str());
        return 1;
    }

    auto start = std::chrono::steady_clock::now();
    Rng rng{0x9E3779B97F4A7C15ull};
    int runs = 0;
    for (const std::string& path : clips) {
        std::vector<uint8_t> clip = readFile(path);
        // Large clips: their first pictures are enough.
        if (clip.size() > 20000) clip.resize(20000);
        const std::vector<size_t> starts = nalStarts(clip);

        for (int variant = 0; variant < 18; ++variant) {
            std::vector<uint8_t> s = clip;
            switch (variant % 6) {
            case 0:  // truncated anywhere
                s.resize(rng.below(s.size()));
                break;
            case 1:  // a few flipped bits
                for (int k = 1 + int(rng.below(4)); k > 0; --k) s[rng.below(s.size())] ^= uint8_t(1u << rng.below(8));
                break;
            case 2:  // many flipped bits
                for (int k = 0; k < 64; ++k) s[rng.below(s.size())] ^= uint8_t(1u << rng.below(8));
                break;
            case 3: {  // a run of random bytes
                size_t at = rng.below(s.size()), len = 1 + rng.below(200);
                for (size_t i = at; i < s.size() && i < at + len; ++i) s[i] = uint8_t(rng.next());
                break;
            }
            case 4: {  // a NAL unit dropped, another repeated
                if (starts.size() < 3) break;
                size_t a = 1 + rng.below(starts.size() - 2);
                size_t aEnd = starts[a + 1];
                std::vector<uint8_t> t(s.begin(), s.begin() + long(starts[a]));
                t.insert(t.end(), s.begin() + long(aEnd), s.end());
                size_t b = rng.below(starts.size() - 1);
                t.insert(t.end(), clip.begin() + long(starts[b]), clip.begin() + long(starts[b + 1]));
                s = t;
                break;
            }
            default: {  // the parameter sets, then slices of random bytes
                size_t keep = starts.size() > 2 ? starts[2] : s.size();
                s.resize(keep);
                for (int n = 0; n < 8; ++n) {
                    const uint8_t header[4] = {0, 0, 1, uint8_t(n == 0 ? 0x65 : 0x41)};
                    s.insert(s.end(), header, header + 4);
                    for (size_t i = 0, len = 1 + rng.below(300); i < len; ++i) s.push_back(uint8_t(rng.next()));
                }
                break;
            }
            }
            decodeOnce(s);
            ++runs;
        }
    }
    // Pure noise, with and without start codes.
    for (int k = 0; k < 40; ++k) {
        std::vector<uint8_t> s(rng.below(4000));
        for (uint8_t& b : s) b = uint8_t(rng.next());
        if (k & 1)
            for (size_t i = 0; i + 3 < s.size(); i += 1 + rng.below(100)) s[i] = s[i + 1] = 0, s[i + 2] = 1;
        decodeOnce(s);
        ++runs;
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%d damaged streams decoded without a fault in %.2f s\n", runs, seconds);
    return 0;
}
