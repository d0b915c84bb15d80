#include "decoder/JpegCheck.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <jerror.h>
#include <jpeglib.h>
#include <vector>

namespace lumivert::decoder {
namespace {

struct Check {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
    bool isDamaged = false;
};

Check& checkOf(j_common_ptr info) {
    return *static_cast<Check*>(info->client_data);
}

[[noreturn]] void fail(j_common_ptr info) {
    std::longjmp(checkOf(info).failed, 1);
}

// Zeros that fill up the room behind a scan; other surplus bytes are data that nothing decoded.
bool isPadding(const jpeg_decompress_struct& info) {
    const auto count = static_cast<std::size_t>(info.err->msg_parm.i[0]);
    const JOCTET* const end = info.src->next_input_byte;
    return std::all_of(end - count, end, [](JOCTET byte) { return byte == 0; });
}

void warn(j_common_ptr info, int level) {
    if (level >= 0)
        return;
    Check& check = checkOf(info);
    switch (check.errors.msg_code) {
    case JWRN_JFIF_MAJOR:  // a later version of JFIF
    case JWRN_ADOBE_XFORM: // a colour transform that Adobe has not defined: taken for YCbCr
        return;
    case JWRN_EXTRANEOUS_DATA:
        check.isDamaged = check.isDamaged || !isPadding(check.info);
        return;
    default:
        check.isDamaged = true;
    }
}

bool hasEveryScan(const jpeg_decompress_struct& info) {
    for (int i = 0; i < info.num_components; ++i) {
        if (!info.comp_info[i].quant_table) // it is latched by a component's first scan
            return false;
        // -1 for a coefficient that never came, above 0 for one whose last bits did not.
        if (info.coef_bits && std::any_of(info.coef_bits[i], info.coef_bits[i] + DCTSIZE2,
                                          [](int bits) { return bits != 0; }))
            return false;
    }
    return true;
}

// An arithmetic decoder that meets a marker goes on with zeros, as it must for the last few bytes,
// and paints everything that follows. Only the last scan can lack data where none is absent.
void readArithmetic(Check& check) {
    jpeg_decompress_struct& info = check.info;
    info.buffered_image = TRUE;
    jpeg_start_decompress(&info);
    bool ranDry = false;
    for (int state = 0; state != JPEG_REACHED_EOI && !check.isDamaged;) {
        state = jpeg_consume_input(&info);
        if (state == JPEG_REACHED_SOS)
            ranDry = false;
        else if (state == JPEG_ROW_COMPLETED)
            ranDry = ranDry || info.unread_marker != 0;
        else if (state == JPEG_SUSPENDED)
            ranDry = check.isDamaged = true;
    }
    check.isDamaged = check.isDamaged || ranDry || !hasEveryScan(info);
}

// Only the blocks' means are computed; what costs time is that every code is read.
void readHuffman(Check& check, std::vector<JSAMPLE>& row) {
    jpeg_decompress_struct& info = check.info;
    info.scale_num = 1;
    info.scale_denom = DCTSIZE;
    info.out_color_space = info.jpeg_color_space;
    jpeg_start_decompress(&info);
    row.resize(std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components));
    JSAMPROW line = row.data();
    while (info.output_scanline < info.output_height)
        jpeg_read_scanlines(&info, &line, 1);
    if (!hasEveryScan(info))
        check.isDamaged = true;
    jpeg_finish_decompress(&info);
}

bool read(Check& check, std::span<const std::byte> bytes, std::vector<JSAMPLE>& row) {
    if (setjmp(check.failed) != 0) // NOLINT(cert-err52-cpp): how libjpeg reports errors
        return false;
    jpeg_create_decompress(&check.info);
    jpeg_mem_src(&check.info, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&check.info, TRUE);
    if (check.info.arith_code)
        readArithmetic(check);
    else
        readHuffman(check, row);
    return !check.isDamaged;
}

} // namespace

bool isWholeJpeg(std::span<const std::byte> bytes) {
    Check check;
    check.info.err = jpeg_std_error(&check.errors);
    check.info.client_data = &check;
    check.errors.error_exit = fail;
    check.errors.emit_message = warn;
    std::vector<JSAMPLE> row; // outside of what longjmp leaves
    const bool isWhole = read(check, bytes, row);
    jpeg_destroy_decompress(&check.info);
    return isWhole;
}

} // namespace lumivert::decoder
