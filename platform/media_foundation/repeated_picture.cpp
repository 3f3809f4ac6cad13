// A picture that equals the one before it, coded in a few bytes. Names in brackets are those of the
// standard (ITU-T H.264, 7.3).

#include "platform/media_foundation/repeated_picture.h"

#include <bit>
#include <optional>

#include "platform/media_foundation/video_format.h"

namespace media {

namespace {

enum UnitType { slice = 1, keySlice = 5, sequenceSet = 7, pictureSet = 8 };

struct BitReader {
    std::span<const std::uint8_t> bytes;
    std::size_t position = 0;  // in bits

    unsigned bits(unsigned count) {
        unsigned value = 0;
        for (; count; --count, ++position) {
            if (position / 8 >= bytes.size()) throw Failure{E_FAIL};
            value = value << 1 | (bytes[position / 8] >> (7 - position % 8) & 1);
        }
        return value;
    }
    unsigned number() {  // [ue(v)]
        unsigned zeros = 0;
        while (!bits(1)) ++zeros;
        if (zeros > 31) throw Failure{E_FAIL};
        return (1u << zeros) - 1 + bits(zeros);
    }
};

struct BitWriter {
    std::vector<std::uint8_t> bytes;
    unsigned used = 0;  // bits of the last byte

    void bits(unsigned value, unsigned count) {
        while (count--) {
            if (used == 0) bytes.push_back(0);
            bytes.back() |= static_cast<std::uint8_t>((value >> count & 1) << (7 - used));
            used = (used + 1) % 8;
        }
    }
    void number(unsigned value) {
        const unsigned length = static_cast<unsigned>(std::bit_width(value + 1));
        bits(0, length - 1);
        bits(value + 1, length);
    }
};

// The first unit of one of the two types, without its start code; empty if there is none.
std::span<const std::uint8_t> findUnit(std::span<const std::uint8_t> stream, int one, int other) {
    for (std::size_t at = 0; at + 3 < stream.size(); ++at) {
        if (stream[at] != 0 || stream[at + 1] != 0 || stream[at + 2] != 1) continue;
        const int type = stream[at + 3] & 31;
        if (type == one || type == other) return stream.subspan(at + 3);
    }
    return {};
}

// Takes out the bytes that keep a start code from arising by chance (00 00 03).
std::vector<std::uint8_t> payload(std::span<const std::uint8_t> unit) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 1; at < unit.size(); ++at)
        if (at < 3 || unit[at] != 3 || unit[at - 1] != 0 || unit[at - 2] != 0)
            bytes.push_back(unit[at]);
    return bytes;
}

void appendUnit(std::vector<std::uint8_t>& stream, std::uint8_t header,
                std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : {std::uint8_t{0}, std::uint8_t{0}, std::uint8_t{1}, header})
        stream.push_back(byte);
    int zeros = 0;
    for (const std::uint8_t byte : bytes) {
        if (zeros == 2 && byte <= 3) {
            stream.push_back(3);
            zeros = 0;
        }
        stream.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

void expect(bool condition) {
    if (!condition) throw Failure{E_FAIL};
}

}  // namespace

RepeatedPictures::RepeatedPictures(std::span<const std::uint8_t> headers) {
    const std::vector<std::uint8_t> sequence = payload(findUnit(headers, sequenceSet, sequenceSet));
    BitReader reader{sequence};
    expect(reader.bits(8) == 66);  // Baseline [profile_idc]: no other coder, no fields, no weights
    reader.bits(16);
    reader.number();                   // [seq_parameter_set_id]
    numberBits = reader.number() + 4;  // [log2_max_frame_num_minus4]
    expect(reader.number() == 2);      // [pic_order_cnt_type]
    expect(reader.number() == 1);      // [max_num_ref_frames]
    reader.bits(1);                    // [gaps_in_frame_num_value_allowed_flag]
    const unsigned columns = reader.number() + 1;
    blocks = columns * (reader.number() + 1);
    expect(reader.bits(1));  // [frame_mbs_only_flag]

    const std::vector<std::uint8_t> picture = payload(findUnit(headers, pictureSet, pictureSet));
    reader = {picture};
    parameterSet = reader.number();
    reader.number();               // [seq_parameter_set_id]
    expect(reader.bits(2) == 0);   // [entropy_coding_mode_flag] and the flag of fields
    expect(reader.number() == 0);  // [num_slice_groups_minus1]
    reader.number();               // [num_ref_idx_l0_default_active_minus1]
    reader.number();
    expect(reader.bits(3) == 0);  // no weights
    reader.number();  // [pic_init_qp_minus26]; signed numbers are as long as unsigned ones
    reader.number();
    reader.number();
    hasFilterControl = reader.bits(1);  // [deblocking_filter_control_present_flag]
    reader.bits(1);
    expect(reader.bits(1) == 0);  // [redundant_pic_cnt_present_flag]
}

void RepeatedPictures::renumber(std::span<std::uint8_t> picture) {
    const std::span<const std::uint8_t> unit = findUnit(picture, slice, keySlice);
    expect(unit.size() > 4);
    if ((unit[0] & 31) == keySlice) {
        lastNumber = inserted = 0;
        return;
    }
    // The first bytes of a slice cannot need protection from looking like a start code, whatever
    // the number: the byte in front of it begins with a set bit [first_mb_in_slice is 0], and the
    // number is followed within 16 bits by the set bit of the next number.
    BitReader reader{unit.subspan(1)};
    expect(reader.number() == 0);  // [first_mb_in_slice]: one slice a picture
    reader.number();               // [slice_type]
    reader.number();               // [pic_parameter_set_id]
    const std::size_t start = 8 + reader.position;
    lastNumber = (reader.bits(numberBits) + inserted) % (1u << numberBits);
    std::uint8_t* const bytes = picture.data() + (unit.data() - picture.data());
    for (unsigned bit = 0; bit < numberBits; ++bit) {
        const std::size_t at = start + bit;
        const auto mask = static_cast<std::uint8_t>(1 << (7 - at % 8));
        const bool set = lastNumber >> (numberBits - 1 - bit) & 1;
        bytes[at / 8] =
            static_cast<std::uint8_t>(set ? bytes[at / 8] | mask : bytes[at / 8] & ~mask);
    }
}

std::vector<std::uint8_t> RepeatedPictures::repeat() {
    ++inserted;
    lastNumber = (lastNumber + 1) % (1u << numberBits);
    BitWriter writer;
    writer.number(0);  // [first_mb_in_slice]
    writer.number(5);  // [slice_type]: predicted, like all slices of this picture
    writer.number(parameterSet);
    writer.bits(lastNumber, numberBits);
    writer.bits(0, 3);  // usual list of references, in the usual order, none marked
    writer.number(0);   // [slice_qp_delta]
    if (hasFilterControl) writer.number(1);  // [disable_deblocking_filter_idc]: nothing to smooth
    writer.number(blocks);                   // [mb_skip_run]
    writer.bits(1, 1);                       // [rbsp_stop_one_bit]

    std::vector<std::uint8_t> stream;
    appendUnit(stream, 2 << 5 | slice, writer.bytes);
    return stream;
}

}  // namespace media
