// Slice header (clause 7.3.3) and the P reference list (clause 8.2.4).
#include <algorithm>
#include <string>

#include "internal.h"

namespace h264dec {

SliceHeader parseSliceHeader(BitReader& br, int nalType, int nalRefIdc, const Sps* const* spsTable,
                             const Pps* const* ppsTable) {
    SliceHeader h;
    h.nalType = nalType;
    h.nalRefIdc = nalRefIdc;
    h.idr = nalType == 5;
    h.firstMb = int(br.ue(139263, "bad first_mb_in_slice"));
    int type = int(br.ue(9, "bad slice_type")) % 5;
    if (type == 1) throw UnsupportedError("B slices");
    if (type >= 3) throw UnsupportedError("SP and SI slices");
    h.type = type;
    if (h.idr && type != kSliceI) throw DecodeError("IDR picture with a P slice");
    h.ppsId = int(br.ue(255, "bad pic_parameter_set_id"));
    const Pps* pps = ppsTable[h.ppsId];
    if (!pps) throw DecodeError("slice refers to a missing picture parameter set");
    const Sps* sps = spsTable[pps->spsId];
    if (!sps) throw DecodeError("slice refers to a missing sequence parameter set");

    h.frameNum = int(br.u(sps->log2MaxFrameNum));
    if (h.idr) {
        if (h.frameNum != 0) throw DecodeError("IDR picture with frame_num not 0");
        h.idrPicId = int(br.ue(65535, "bad idr_pic_id"));
    }
    if (sps->pocType == 0) {
        h.pocLsb = int(br.u(sps->log2MaxPocLsb));
        if (pps->bottomFieldPicOrderPresent) br.se();  // delta_pic_order_cnt_bottom: frames only
    }
    if (pps->redundantPicCntPresent) h.redundantPicCnt = int(br.ue(127, "bad redundant_pic_cnt"));

    h.numRefIdxActive = pps->numRefIdxL0Default;
    if (type == kSliceP) {
        if (br.flag()) h.numRefIdxActive = int(br.ue(15, "bad num_ref_idx_l0_active_minus1")) + 1;
        if (h.numRefIdxActive > 16) throw DecodeError("more than 16 active references");
        if (br.flag()) {  // ref_pic_list_modification_flag_l0
            for (;;) {
                int idc = int(br.ue(3, "bad modification_of_pic_nums_idc"));
                if (idc == 3) break;
                if (h.refListMods.size() > 32) throw DecodeError("too many reference list modifications");
                h.refListMods.push_back({idc, br.ue()});
            }
        }
    }
    if (nalRefIdc) {
        if (h.idr) {
            br.u(1);  // no_output_of_prior_pics_flag: prior pictures are output anyway
            h.longTermReference = br.flag();
        } else {
            h.adaptiveMarking = br.flag();
            if (h.adaptiveMarking) {
                for (;;) {
                    MemoryManagementOp m;
                    m.op = int(br.ue(6, "bad memory_management_control_operation"));
                    if (m.op == 0) break;
                    if (h.mmcos.size() > 64) throw DecodeError("too many memory management operations");
                    if (m.op == 1 || m.op == 3) m.a = br.ue();  // difference_of_pic_nums_minus1
                    if (m.op == 2) m.a = br.ue();               // long_term_pic_num
                    if (m.op == 3 || m.op == 6) m.b = br.ue(15, "bad long_term_frame_idx");
                    if (m.op == 4) m.a = br.ue(16, "bad max_long_term_frame_idx_plus1");
                    h.mmcos.push_back(m);
                }
            }
        }
    }
    h.qp = pps->picInitQp + br.se(-51, 51, "bad slice_qp_delta");
    if (h.qp < 0 || h.qp > 51) throw DecodeError("slice QP out of range");
    if (pps->deblockingControlPresent) {
        h.disableDeblocking = int(br.ue(2, "bad disable_deblocking_filter_idc"));
        if (h.disableDeblocking != 1) {
            h.filterOffsetA = 2 * br.se(-6, 6, "bad slice_alpha_c0_offset_div2");
            h.filterOffsetB = 2 * br.se(-6, 6, "bad slice_beta_offset_div2");
        }
    }
    return h;
}

// Initial list in descending PicNum, long-term pictures after in ascending
// LongTermPicNum (clause 8.2.4.2.1), then the modifications of clause 8.2.4.3.
void Decoder::Impl::buildRefList() {
    const int maxFrameNum = 1 << seq.log2MaxFrameNum;
    std::vector<Picture*> shortRefs, longRefs;
    for (auto& p : dpb) {
        if (p->isCurrent) continue;
        if (p->shortRef) {
            p->frameNumWrap = p->frameNum > sh.frameNum ? p->frameNum - maxFrameNum : p->frameNum;
            shortRefs.push_back(p.get());
        } else if (p->longRef) {
            longRefs.push_back(p.get());
        }
    }
    std::sort(shortRefs.begin(), shortRefs.end(),
              [](const Picture* a, const Picture* b) { return a->frameNumWrap > b->frameNumWrap; });
    std::sort(longRefs.begin(), longRefs.end(),
              [](const Picture* a, const Picture* b) { return a->longTermFrameIdx < b->longTermFrameIdx; });
    std::vector<Picture*> list = shortRefs;
    list.insert(list.end(), longRefs.begin(), longRefs.end());
    const size_t n = size_t(sh.numRefIdxActive);
    list.resize(n, nullptr);

    int picNumPred = sh.frameNum;
    size_t insertAt = 0;
    for (const RefListModification& m : sh.refListMods) {
        if (insertAt >= n) throw DecodeError("too many reference list modifications");
        Picture* pic = nullptr;
        if (m.idc == 0 || m.idc == 1) {
            int absDiff = int(std::min<uint32_t>(m.value, uint32_t(maxFrameNum))) + 1;
            if (absDiff > maxFrameNum) throw DecodeError("bad abs_diff_pic_num_minus1");
            picNumPred += m.idc == 0 ? -absDiff : absDiff;
            if (picNumPred < 0) picNumPred += maxFrameNum;
            if (picNumPred >= maxFrameNum) picNumPred -= maxFrameNum;
            int picNum = picNumPred > sh.frameNum ? picNumPred - maxFrameNum : picNumPred;
            for (Picture* p : shortRefs)
                if (p->frameNumWrap == picNum) pic = p;
        } else {
            for (Picture* p : longRefs)
                if (uint32_t(p->longTermFrameIdx) == m.value) pic = p;
        }
        if (!pic) throw DecodeError("reference list modification names a missing picture");
        // Insert at refIdx and drop the picture's later duplicate.
        list.insert(list.begin() + long(insertAt), pic);
        for (size_t i = insertAt + 1; i < list.size(); ++i) {
            if (list[i] == pic) {
                list.erase(list.begin() + long(i));
                break;
            }
        }
        ++insertAt;
        list.resize(n, nullptr);
    }
    refList = list;
}

}  // namespace h264dec
