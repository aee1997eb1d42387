#include "params.h"

#include <string>

namespace h264dec {

namespace {

void skipHrd(BitReader& br) {
    int count = int(br.ue(31, "bad cpb_cnt_minus1")) + 1;
    br.u(4);  // bit_rate_scale
    br.u(4);  // cpb_size_scale
    for (int i = 0; i < count; ++i) {
        br.ue();  // bit_rate_value_minus1
        br.ue();  // cpb_size_value_minus1
        br.u(1);  // cbr_flag
    }
    br.u(5 + 5 + 5 + 5);  // delay and time offset lengths
}

// VUI (Annex E): only the bitstream restriction matters for output order.
void parseVui(BitReader& br, Sps& sps) {
    if (br.flag()) {  // aspect_ratio_info_present_flag
        if (br.u(8) == 255) br.u(32);  // Extended_SAR: sar_width, sar_height
    }
    if (br.flag()) br.u(1);  // overscan_info_present_flag, overscan_appropriate_flag
    if (br.flag()) {         // video_signal_type_present_flag
        br.u(4);
        if (br.flag()) br.u(24);  // colour description
    }
    if (br.flag()) {  // chroma_loc_info_present_flag
        br.ue();
        br.ue();
    }
    if (br.flag()) {  // timing_info_present_flag
        br.u(32);     // num_units_in_tick
        br.u(32);     // time_scale
        br.u(1);      // fixed_frame_rate_flag
    }
    bool nalHrd = br.flag();
    if (nalHrd) skipHrd(br);
    bool vclHrd = br.flag();
    if (vclHrd) skipHrd(br);
    if (nalHrd || vclHrd) br.u(1);  // low_delay_hrd_flag
    br.u(1);                        // pic_struct_present_flag
    if (br.flag()) {                // bitstream_restriction_flag
        br.u(1);                    // motion_vectors_over_pic_boundaries_flag
        br.ue();                    // max_bytes_per_pic_denom
        br.ue();                    // max_bits_per_mb_denom
        br.ue();                    // log2_max_mv_length_horizontal
        br.ue();                    // log2_max_mv_length_vertical
        sps.numReorderFrames = int(br.ue(16, "bad max_num_reorder_frames"));
        br.ue();  // max_dec_frame_buffering
    }
}

}  // namespace

Sps parseSps(BitReader& br) {
    Sps sps;
    sps.profileIdc = int(br.u(8));
    br.u(8);  // constraint flags and reserved bits
    sps.levelIdc = int(br.u(8));
    sps.id = int(br.ue(31, "bad seq_parameter_set_id"));
    switch (sps.profileIdc) {
    case 100: case 110: case 122: case 244: case 44: case 83: case 86: case 118: case 128: case 138:
    case 139: case 134: case 135: {
        int chromaFormat = int(br.ue(3, "bad chroma_format_idc"));
        if (chromaFormat != 1)
            throw UnsupportedError("chroma format " + std::to_string(chromaFormat) + " (only 4:2:0 is supported)");
        int depthLuma = int(br.ue(6, "bad bit_depth_luma")) + 8;
        int depthChroma = int(br.ue(6, "bad bit_depth_chroma")) + 8;
        if (depthLuma != 8 || depthChroma != 8) throw UnsupportedError("bit depths above 8");
        if (br.flag()) throw UnsupportedError("lossless coding (qpprime_y_zero_transform_bypass_flag)");
        if (br.flag()) throw UnsupportedError("scaling matrices");
        break;
    }
    default:
        break;
    }
    sps.log2MaxFrameNum = int(br.ue(12, "bad log2_max_frame_num_minus4")) + 4;
    sps.pocType = int(br.ue(2, "bad pic_order_cnt_type"));
    if (sps.pocType == 0) {
        sps.log2MaxPocLsb = int(br.ue(12, "bad log2_max_pic_order_cnt_lsb_minus4")) + 4;
    } else if (sps.pocType == 1) {
        throw UnsupportedError("pic_order_cnt_type 1");
    }
    sps.maxNumRefFrames = int(br.ue(16, "bad max_num_ref_frames"));
    sps.gapsInFrameNumAllowed = br.flag();
    sps.widthMbs = int(br.ue(1023, "bad pic_width_in_mbs_minus1")) + 1;
    sps.heightMbs = int(br.ue(1023, "bad pic_height_in_map_units_minus1")) + 1;
    if (!br.flag()) throw UnsupportedError("interlaced coding (frame_mbs_only_flag 0)");
    br.u(1);  // direct_8x8_inference_flag
    if (br.flag()) {
        // 4:2:0 frames crop in units of two samples.
        int limitX = sps.widthMbs * 8, limitY = sps.heightMbs * 8;
        sps.cropLeft = 2 * int(br.ue(uint32_t(limitX), "bad frame_crop_left_offset"));
        sps.cropRight = 2 * int(br.ue(uint32_t(limitX), "bad frame_crop_right_offset"));
        sps.cropTop = 2 * int(br.ue(uint32_t(limitY), "bad frame_crop_top_offset"));
        sps.cropBottom = 2 * int(br.ue(uint32_t(limitY), "bad frame_crop_bottom_offset"));
        if (sps.cropLeft + sps.cropRight >= sps.widthMbs * 16 || sps.cropTop + sps.cropBottom >= sps.heightMbs * 16)
            throw DecodeError("cropping removes the whole picture");
    }
    if (br.flag()) parseVui(br, sps);
    return sps;
}

Pps parsePps(BitReader& br) {
    Pps pps;
    pps.id = int(br.ue(255, "bad pic_parameter_set_id"));
    pps.spsId = int(br.ue(31, "bad seq_parameter_set_id"));
    if (br.flag()) throw UnsupportedError("CABAC entropy coding");
    pps.bottomFieldPicOrderPresent = br.flag();
    if (br.ue(7, "bad num_slice_groups_minus1") != 0) throw UnsupportedError("slice groups (FMO)");
    pps.numRefIdxL0Default = int(br.ue(31, "bad num_ref_idx_l0_default_active_minus1")) + 1;
    br.ue(31, "bad num_ref_idx_l1_default_active_minus1");
    if (br.flag()) throw UnsupportedError("weighted prediction");
    br.u(2);  // weighted_bipred_idc: B slices are rejected on their own
    pps.picInitQp = 26 + br.se(-26, 25, "bad pic_init_qp_minus26");
    br.se(-26, 25, "bad pic_init_qs_minus26");
    pps.chromaQpOffset = br.se(-12, 12, "bad chroma_qp_index_offset");
    pps.deblockingControlPresent = br.flag();
    pps.constrainedIntraPred = br.flag();
    pps.redundantPicCntPresent = br.flag();
    if (br.moreRbspData()) {
        if (br.flag()) throw UnsupportedError("8x8 transform (High profile)");
        if (br.flag()) throw UnsupportedError("scaling matrices");
        if (br.se(-12, 12, "bad second_chroma_qp_index_offset") != pps.chromaQpOffset)
            throw UnsupportedError("separate Cr quantiser offset");
    }
    return pps;
}

}  // namespace h264dec
