#!/usr/bin/env bash
# H.264 Baseline test clips for the example decoder (examples/h264dec).
#
#   scripts/h264_clips.sh [--generate]        rebuild tests/data/h264: clips made by x264
#                                            from FFmpeg test sources, and clips.md5 with
#                                            FFmpeg's decode of each
#   scripts/h264_clips.sh --check DECODER    make a few fresh clips in a scratch directory
#                                            and check that DECODER's output matches
#                                            FFmpeg's byte for byte (exit 77 when ffmpeg or
#                                            x264 is missing)
#
# Manifest lines: "<md5 of FFmpeg's raw I420 output> <clip file>".
set -euo pipefail

here="$(cd "$(dirname "$0")/.." && pwd)"
mode="generate"
decoder=""
case "${1:-}" in
  --check) mode="check"; decoder="${2:?--check needs the decoder program}";;
  --generate|"") ;;
  *) echo "usage: $0 [--generate | --check DECODER]" >&2; exit 2;;
esac

if ! command -v ffmpeg >/dev/null || ! command -v x264 >/dev/null || ! command -v python3 >/dev/null; then
  echo "ffmpeg, x264 or python3 not installed: skipped" >&2
  exit 77
fi

src="$(mktemp -d)"
if [ "$mode" = "generate" ]; then
  out="$here/tests/data/h264"
  mkdir -p "$out"
  rm -f "$out"/*.264 "$out/clips.md5"
  trap 'rm -rf "$src"' EXIT
else
  out="$(mktemp -d)"
  trap 'rm -rf "$src" "$out"' EXIT
fi

# make_source NAME FILTER SIZE FRAMES: raw video from an FFmpeg test source as y4m.
make_source() {
  ffmpeg -v error -f lavfi -i "$2=size=$3:rate=25" -frames:v "$4" -pix_fmt yuv420p -y "$src/$1.y4m"
}

# Slice header rewriting for features x264 does not produce. Reads a Baseline
# stream from x264 (pic_order_cnt_type 2, no list modification, no adaptive
# marking) and writes it back with any of:
#   poc0     pic_order_cnt_type 0 with a pic_order_cnt_lsb in every slice
#   idc2     disable_deblocking_filter_idc 2 (no filtering across slices) for idc 0
#   reorder  every third P picture lists picture PicNum - 2 first (needs --ref >= 2)
#   mmco     every fifth picture marks the previous one long-term (index 0), the
#            first time also dropping PicNum - 3 (needs --ref 3)
# The result decodes differently from what x264 meant, but it is a valid
# stream, and FFmpeg's decode of it is the reference.
write_rewriter() {
  cat > "$1" <<'PY'
import sys

def nal_units(data):
    i = data.find(b'\x00\x00\x01')
    while i >= 0:
        j = data.find(b'\x00\x00\x01', i + 3)
        yield data[i + 3:j if j >= 0 else len(data)].rstrip(b'\x00')
        i = j

def unescape(b):
    out, zeros = bytearray(), 0
    for x in b:
        if zeros >= 2 and x == 3:
            zeros = 0
            continue
        zeros = zeros + 1 if x == 0 else 0
        out.append(x)
    return bytes(out)

def escape(b):
    out, zeros = bytearray(), 0
    for x in b:
        if zeros >= 2 and x <= 3:
            out.append(3)
            zeros = 0
        out.append(x)
        zeros = zeros + 1 if x == 0 else 0
    return bytes(out)

class Bits:
    def __init__(self, b):
        self.s = ''.join(format(x, '08b') for x in b)
        self.p = 0
    def u(self, n):
        v = int(self.s[self.p:self.p + n], 2) if n else 0
        self.p += n
        return v
    def ue(self):
        z = 0
        while self.s[self.p + z] == '0':
            z += 1
        v = (1 << z) - 1 + (int(self.s[self.p + z + 1:self.p + 2 * z + 1], 2) if z else 0)
        self.p += 2 * z + 1
        return v
    def se(self):
        k = self.ue()
        return (k + 1) // 2 if k & 1 else -(k // 2)

def ue(v):
    v += 1
    return '0' * (v.bit_length() - 1) + format(v, 'b')

def se(v):
    return ue(2 * v - 1 if v > 0 else -2 * v)

def nal(header, bits):
    bits = bits[:bits.rindex('1')] + '1'  # new rbsp_stop_one_bit and alignment
    bits += '0' * (-len(bits) % 8)
    return b'\x00\x00\x00\x01' + bytes([header]) + escape(bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8)))

def main(src, dst, opts):
    sps, pps, out = {}, {}, bytearray()
    pictures = since_idr = 0
    for n in nal_units(open(src, 'rb').read()):
        header, kind = n[0], n[0] & 31
        r = Bits(unescape(n[1:]))
        if kind == 7:
            r.u(24)
            sps_id, log2_max_frame_num = r.ue(), r.ue() + 4
            a = r.p
            assert r.ue() == 2
            sps[sps_id] = log2_max_frame_num
            out += nal(header, r.s[:a] + (ue(0) + ue(4) if 'poc0' in opts else ue(2)) + r.s[r.p:])
            continue
        if kind == 8:
            pps_id, sps_id = r.ue(), r.ue()
            r.u(2); r.ue(); r.ue(); r.ue(); r.u(3); r.se(); r.se(); r.se()
            assert r.u(1) == 1  # deblocking_filter_control_present_flag
            pps[pps_id] = sps_id
        if kind not in (1, 5):
            out += b'\x00\x00\x00\x01' + n
            continue
        first, slice_type, pps_id = r.ue(), r.ue() % 5, r.ue()
        if first == 0:
            pictures += 1
            since_idr = 0 if kind == 5 else since_idr + 1
        r.u(sps[pps[pps_id]])
        if kind == 5:
            r.ue()
        a = r.p
        edits = []  # (from, to, new bits) inside the header
        if 'poc0' in opts:
            edits.append((a, a, format((2 * pictures) % 256, '08b')))
        if slice_type == 0:
            if r.u(1):
                r.ue()
            assert r.u(1) == 0
            if 'reorder' in opts and since_idr >= 3 and since_idr % 3 == 0:
                edits.append((r.p - 1, r.p, '1' + ue(0) + ue(1) + ue(3)))
        if header >> 5:
            if kind == 5:
                r.u(2)
            else:
                assert r.u(1) == 0
                if 'mmco' in opts and since_idr >= 4 and since_idr % 5 == 4:
                    ops = ue(4) + ue(1) + ue(3) + ue(0) + ue(0) + (ue(1) + ue(2) if since_idr == 4 else '') + ue(0)
                    edits.append((r.p - 1, r.p, '1' + ops))
        r.se()
        c = r.p
        idc = r.ue()
        offsets = (r.se(), r.se()) if idc != 1 else (0, 0)
        if 'idc2' in opts and idc == 0:
            edits.append((c, r.p, ue(2) + se(offsets[0]) + se(offsets[1])))
        bits, last = '', 0
        for start, end, new in edits:
            bits += r.s[last:start] + new
            last = end
        out += nal(header, bits + r.s[last:])
    open(dst, 'wb').write(out)

main(sys.argv[1], sys.argv[2], sys.argv[3:])
PY
}

# clip NAME SOURCE X264-OPTIONS...: encodes, then records FFmpeg's decode.
failures=0
clip() {
  local name="$1" input="$2"
  shift 2
  x264 --quiet --profile baseline "$@" -o "$out/$name.264" "$src/$input.y4m" 2>/dev/null
  record "$name"
}

# variant NAME FROM REWRITES...: a rewritten copy of clip FROM.
variant() {
  local name="$1" from="$2"
  shift 2
  python3 "$src/rewrite.py" "$out/$from.264" "$out/$name.264" "$@"
  record "$name"
}

# record NAME: FFmpeg's decode into the manifest, or the check against it.
record() {
  local name="$1" ref
  ref="$(ffmpeg -v error -i "$out/$name.264" -f rawvideo -pix_fmt yuv420p - | md5sum | cut -d' ' -f1)"
  if [ "$mode" = "generate" ]; then
    echo "$ref $name.264" >> "$out/clips.md5"
  else
    local got
    got="$("$decoder" -q "$out/$name.264" - | md5sum | cut -d' ' -f1)"
    if [ "$got" = "$ref" ]; then
      echo "ok   $name"
    else
      echo "FAIL $name: decoder $got, FFmpeg $ref"
      failures=$((failures + 1))
    fi
  fi
}

write_rewriter "$src/rewrite.py"

if [ "$mode" = "generate" ]; then
  make_source qcif testsrc2 176x144 30
  make_source cif testsrc2 352x288 10
  make_source odd mandelbrot 200x120 20
  make_source tiny testsrc2 34x18 15
  make_source qvga mandelbrot 320x240 30
  make_source hd mandelbrot 1280x720 45

  # Intra only: every Intra4x4 and Intra16x16 mode, high and low quantisers.
  clip intra_qcif_qp26        qcif --keyint 1 --qp 26 --frames 5
  clip intra_cif_qp12         cif  --keyint 1 --qp 12 --frames 2
  clip intra_odd_qp45         odd  --keyint 1 --qp 45 --frames 5
  # P pictures: all partition sizes, skips, several references.
  clip inter_qcif_qp26         qcif --qp 26 --frames 20
  clip inter_qcif_ref4_all     qcif --preset veryslow --partitions all --ref 4 --qp 22 --frames 30
  clip inter_odd_nodeblock     odd  --no-deblock --partitions all --qp 35 --frames 20
  clip inter_tiny_qp45         tiny --partitions all --ref 2 --qp 45 --frames 15
  clip inter_qcif_offsets      qcif --keyint 5 --deblock -3:2 --partitions all --qp 10 --frames 10
  clip inter_qvga_crf18        qvga --keyint 10 --crf 18 --ref 2 --frames 30
  # Several slices per picture, fixed count and by size.
  clip slices4_cif            cif  --slices 4 --partitions all --qp 30 --frames 10
  clip slices3_cif_ultrafast  cif  --preset ultrafast --slices 3 --qp 40 --frames 10
  clip slicesize_qcif         qcif --slice-max-size 500 --partitions all --ref 3 --deblock 2:-2 --crf 23 --frames 20
  # Constrained intra prediction and periodic intra refresh.
  clip constrained_intra_qvga qvga --constrained-intra --partitions all --crf 24 --frames 20
  clip intra_refresh_qvga     qvga --intra-refresh --keyint 10 --crf 24 --frames 30
  # Features x264 leaves out, by rewriting slice headers: POC type 0, no
  # deblocking across slices, reference list modification, long-term
  # references through adaptive marking.
  variant slices4_cif_idc2_poc0 slices4_cif idc2 poc0
  clip    inter_qcif_ref3        qcif --ref 3 --partitions all --qp 26 --frames 30
  variant inter_qcif_ref3_reorder inter_qcif_ref3 reorder poc0
  variant inter_qcif_ref3_mmco   inter_qcif_ref3 mmco
  # The speed clip.
  clip speed_720p             hd   --preset medium --crf 26 --frames 45
  du -ch "$out"/*.264 | tail -1
else
  make_source qcif testsrc2 176x144 20
  make_source odd mandelbrot 200x120 10
  clip fresh_intra   qcif --keyint 1 --qp 20 --frames 3
  clip fresh_inter    qcif --partitions all --ref 3 --qp 28 --frames 20
  clip fresh_slices  odd  --slices 3 --no-deblock --qp 33 --frames 10
  clip fresh_deblock odd  --deblock 1:1 --partitions all --crf 20 --frames 10
  clip fresh_ref3    qcif --ref 3 --slices 2 --qp 30 --frames 20
  variant fresh_rewritten fresh_ref3 poc0 idc2 reorder
  variant fresh_mmco      fresh_ref3 mmco
  # Streams beyond Baseline: a clear message and exit status 3, no output.
  unsupported() {
    local name="$1" status msg
    shift
    x264 --quiet "$@" -o "$out/$name.264" "$src/qcif.y4m" 2>/dev/null
    set +e
    msg="$("$decoder" -q "$out/$name.264" "$out/$name.yuv" 2>&1)"
    status=$?
    set -e
    if [ "$status" -eq 3 ] && [ -n "$msg" ]; then
      echo "ok   $name: $msg"
    else
      echo "FAIL $name: exit $status: $msg"
      failures=$((failures + 1))
    fi
  }
  unsupported fresh_cabac      --profile main --frames 3
  unsupported fresh_bframes    --profile main --no-cabac --weightp 0 --bframes 2 --frames 6
  unsupported fresh_interlaced --profile main --no-cabac --interlaced --frames 3
  unsupported fresh_8x8dct     --profile high --no-cabac --weightp 0 --frames 3
  unsupported fresh_weighted   --profile main --no-cabac --weightp 2 --bframes 0 --frames 6
  unsupported fresh_422        --profile high422 --output-csp i422 --no-cabac --frames 3
  [ "$failures" -eq 0 ] || exit 1
fi
