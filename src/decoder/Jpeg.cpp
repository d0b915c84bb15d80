#include "decoder/Jpeg.h"

#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <jerror.h>
#include <jpeglib.h>

namespace lumivert::decoder {

using namespace std::string_view_literals;

namespace {

std::size_t byteAt(ByteView bytes, std::size_t at) {
    return bigEndian(bytes, at, 1);
}

std::size_t wordAt(ByteView bytes, std::size_t at) {
    return bigEndian(bytes, at, 2);
}

// JFIF 1.02: identifier 5, version 2, units 1, Xdensity 2, Ydensity 2.
std::optional<Density> jfifDensity(ByteView segment) {
    if (segment.size() < 12)
        return std::nullopt;
    const std::size_t units = byteAt(segment, 7);
    if (units != 1 && units != 2)
        return std::nullopt; // an aspect ratio only
    const double perInch = units == 2 ? 2.54 : 1;
    return usableDensity(static_cast<double>(wordAt(segment, 8)) * perInch,
                         static_cast<double>(wordAt(segment, 10)) * perInch);
}

bool isFrame(std::size_t marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// From the end, where it usually stands; more may follow it, such as a second picture.
bool hasEndOfImage(ByteView bytes) {
    for (std::size_t at = bytes.size(); at >= 2; --at)
        if (bytes[at - 2] == std::byte{0xff} && bytes[at - 1] == std::byte{0xd9})
            return true;
    return false;
}

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

bool read(Check& check, ByteView bytes, std::vector<JSAMPLE>& row) {
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

std::optional<Density> usableDensity(double x, double y) {
    using protocol::isUsable;
    if (!isUsable(x) && !isUsable(y))
        return std::nullopt;
    return Density{isUsable(x) ? x : y, isUsable(y) ? y : x};
}

std::optional<JpegMarkers> readJpegMarkers(ByteView bytes) {
    if (bytes.size() < 4 || wordAt(bytes, 0) != 0xffd8)
        return std::nullopt;
    JpegMarkers found;
    std::optional<std::size_t> frame;
    std::size_t precision = 0;
    std::array<std::size_t, 4> ids{};
    bool hasJfif = false;
    bool hasAdobe = false;
    std::optional<std::size_t> transform; // of Adobe's marker: 0 none, 1 YCbCr, 2 YCCK
    bool isContradictory = false;
    for (std::size_t at = 2; at + 4 <= bytes.size();) {
        if (byteAt(bytes, at) != 0xff)
            return std::nullopt;
        const std::size_t marker = byteAt(bytes, at + 1);
        if (marker == 0xff) { // fill byte
            ++at;
            continue;
        }
        if (marker == 0xda) {
            found.hasEnd = hasEndOfImage(bytes.subspan(at + 2));
            break;
        }
        const std::size_t length = wordAt(bytes, at + 2);
        if (length < 2 || at + 2 + length > bytes.size())
            return std::nullopt;
        const auto segment = bytes.subspan(at + 4, length - 2);
        if (marker == 0xe0 && asText(part(segment, 0, 5)) == "JFIF\0"sv) {
            hasJfif = true;
            if (!found.jfifDensity)
                found.jfifDensity = jfifDensity(segment);
        } else if (marker == 0xee && segment.size() >= 12 &&
                   asText(part(segment, 0, 5)) == "Adobe") {
            hasAdobe = true;
            isContradictory = isContradictory || (transform && *transform != byteAt(segment, 11));
            transform = byteAt(segment, 11);
        } else if (isFrame(marker) && segment.size() >= 6 && !frame) {
            frame = marker;
            precision = byteAt(segment, 0);
            found.height = static_cast<int>(wordAt(segment, 1));
            found.width = static_cast<int>(wordAt(segment, 3));
            found.components = static_cast<int>(byteAt(segment, 5));
            for (std::size_t i = 0; i < ids.size() && 6 + 3 * i < segment.size(); ++i)
                ids[i] = byteAt(segment, 6 + 3 * i);
        }
        at += 2 + length;
    }
    if (!frame)
        return std::nullopt;
    const bool usualCoding = (*frame == 0xc0 || *frame == 0xc1 || *frame == 0xc2) && precision == 8;
    // Without a marker, component names 'R', 'G', 'B' mean RGB to some readers and YCbCr to others.
    const bool ambiguous = found.components == 3 && !hasJfif && !hasAdobe && ids[0] == 'R' &&
                           ids[1] == 'G' && ids[2] == 'B';
    // JFIF means YCbCr; some readers believe it and some Adobe's marker. A transform that the
    // number of components has not is taken for one thing here and for another there.
    const std::size_t meant = transform.value_or(found.components == 3 ? 1 : 0);
    const bool hasOneReading =
        !ambiguous && !isContradictory &&
        (found.components == 3 ? meant == 1 || (meant == 0 && !hasJfif)
                               : found.components == 1 || meant == 0 || meant == 2);
    const bool usualComponents =
        found.components == 1 || found.components == 3 || found.components == 4;
    found.embeddable =
        usualCoding && usualComponents && hasOneReading && found.width > 0 && found.height > 0;
    found.inverted = found.components == 4 && hasAdobe;
    return found;
}

bool isWholeJpeg(ByteView bytes) {
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
