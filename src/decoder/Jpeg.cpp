#include "decoder/Jpeg.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <jerror.h>
#include <jpeglib.h>

namespace lumivert::decoder {
namespace {

constexpr int adobeMarker = JPEG_APP0 + 14;

struct Check {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf failed{};
    bool isDamaged = false;

    ~Check() { jpeg_destroy_decompress(&info); }
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

// The header, and then what `read` reads; nothing there may need a destructor. False where libjpeg
// gives up.
template <class Read>
bool goThrough(Check& check, ByteView bytes, const Read& read) {
    jpeg_decompress_struct& info = check.info;
    info.err = jpeg_std_error(&check.errors);
    info.client_data = &check;
    check.errors.error_exit = fail;
    check.errors.emit_message = warn;
    if (setjmp(check.failed) != 0) // NOLINT(cert-err52-cpp): how libjpeg reports errors
        return false;
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_save_markers(&info, adobeMarker, 0xffff);
    jpeg_read_header(&info, TRUE);
    read();
    return true;
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
void readHuffman(Check& check) {
    jpeg_decompress_struct& info = check.info;
    info.scale_num = 1;
    info.scale_denom = DCTSIZE;
    info.out_color_space = info.jpeg_color_space;
    jpeg_start_decompress(&info);
    const auto samples = info.output_width * static_cast<JDIMENSION>(info.output_components);
    JSAMPARRAY row =
        info.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&info), JPOOL_IMAGE, samples, 1);
    while (info.output_scanline < info.output_height)
        jpeg_read_scanlines(&info, row, 1);
    check.isDamaged = check.isDamaged || !hasEveryScan(info);
    jpeg_finish_decompress(&info);
}

// Whether Adobe's markers name more than one colour transform.
bool isContradictory(const jpeg_decompress_struct& info) {
    for (const jpeg_marker_struct* marker = info.marker_list; marker; marker = marker->next)
        if (marker->data_length >= 12 && std::equal(marker->data, marker->data + 5, "Adobe") &&
            marker->data[11] != info.Adobe_transform)
            return true;
    return false;
}

} // namespace

std::optional<JpegMarkers> readJpegMarkers(ByteView bytes) {
    Check check;
    if (!goThrough(check, bytes, [] {}))
        return std::nullopt;
    const jpeg_decompress_struct& info = check.info;
    JpegMarkers found;
    found.components = info.num_components;
    // Without a marker, component names 'R', 'G', 'B' mean RGB to some readers and YCbCr to others.
    const bool isAmbiguous = info.jpeg_color_space == JCS_RGB && !info.saw_Adobe_marker;
    // JFIF means YCbCr; some readers believe it and some Adobe's marker. A transform (0 none,
    // 1 YCbCr, 2 YCCK) that the number of components has not is taken for one thing here and for
    // another there.
    const int usual = found.components == 3 ? 1 : 0;
    const int transform = info.saw_Adobe_marker ? info.Adobe_transform : usual;
    const bool isUsual =
        found.components == 1 ||
        (found.components == 3 && (transform == 1 || (transform == 0 && !info.saw_JFIF_marker))) ||
        (found.components == 4 && (transform == 0 || transform == 2));
    found.embeddable = isUsual && !isAmbiguous && !isContradictory(info) && !info.arith_code &&
                       info.data_precision == 8 && !check.isDamaged;
    found.inverted = found.components == 4 && info.saw_Adobe_marker;
    // Otherwise there is an aspect ratio only.
    if (info.saw_JFIF_marker && (info.density_unit == 1 || info.density_unit == 2)) {
        const double perInch = info.density_unit == 2 ? 2.54 : 1;
        found.jfifDensity = usableDensity(info.X_density * perInch, info.Y_density * perInch);
    }
    return found;
}

bool isWholeJpeg(ByteView bytes) {
    Check check;
    const auto read = [&] { check.info.arith_code ? readArithmetic(check) : readHuffman(check); };
    return goThrough(check, bytes, read) && !check.isDamaged;
}

} // namespace lumivert::decoder
