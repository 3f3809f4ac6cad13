// A picture that equals the one before it, coded in a few bytes.
//
// A still desktop gives thirty equal pictures a second, and even a fast encoder looks at every
// block of each of them. H.264 has a short way to say "all as before": a predicted picture all of
// whose blocks are skipped. Such pictures are put between those of the encoder. Each takes a number
// in the count of reference pictures (frame_num), so those that the encoder makes afterwards are
// renumbered; the count starts anew with every key picture. Nothing else of the encoder's pictures
// depends on it, because its streams here have one reference picture, the picture before, and take
// the display order from that same count (pic_order_cnt_type 2).

#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace media {

struct RepeatedPictures {
    // `headers`: the encoder's parameter sets, with start codes. Throws Failure for a stream of
    // another kind.
    explicit RepeatedPictures(std::span<const std::uint8_t> headers);

    // To be called for every picture of the encoder, in order; changes the number in its slice.
    void renumber(std::span<std::uint8_t> picture);
    // A picture like the one before it, with start code. There must have been one.
    std::vector<std::uint8_t> repeat();

private:
    unsigned numberBits = 0;
    unsigned parameterSet = 0;
    unsigned blocks = 0;
    bool hasFilterControl = false;
    unsigned lastNumber = 0;
    unsigned inserted = 0;  // since the last key picture
};

}  // namespace media
