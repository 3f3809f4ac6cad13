// The sink writer: what becomes of its samples, judged by an independent reader, and what it
// refuses.

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>

#include "common/com_pointer.h"
#include "platform/control.h"
#include "tests/clip_reader.h"
#include "tests/scratch.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

std::int64_t timeOf(std::int64_t slot) { return slot * 10'000'000 / 30; }

struct Take {
    Take(int asWide, int asHigh) : width(asWide), height(asHigh) {
        MFStartup(MF_VERSION, MFSTARTUP_FULL);
        ComPointer<IMFAttributes> attributes;
        MFCreateAttributes(attributes.put(), 3);
        attributes->SetUINT32(MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS, 0);
        attributes->SetUINT32(MF_SINK_WRITER_DISABLE_THROTTLING, 1);
        attributes->SetGUID(MF_TRANSCODE_CONTAINERTYPE, MFTranscodeContainerType_MPEG4);
        EXPECT_EQ(MFCreateSinkWriterFromURL(file.string<WCHAR>().c_str(), nullptr, attributes.get(),
                                            writer.put()),
                  S_OK);
    }
    ~Take() {
        writer.reset();
        MFShutdown();
    }

    ComPointer<IMFMediaType> type(const GUID& subtype) const {
        ComPointer<IMFMediaType> made;
        MFCreateMediaType(made.put());
        made->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
        made->SetGUID(MF_MT_SUBTYPE, subtype);
        if (subtype == MFVideoFormat_H264) made->SetUINT32(MF_MT_AVG_BITRATE, 12'000'000);
        made->SetUINT32(MF_MT_YUV_MATRIX, MFVideoTransferMatrix_BT601);
        made->SetUINT32(MF_MT_VIDEO_NOMINAL_RANGE, MFNominalRange_16_235);
        made->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
        MFSetAttributeSize(made.get(), MF_MT_FRAME_SIZE, width, height);
        MFSetAttributeRatio(made.get(), MF_MT_FRAME_RATE, 30, 1);
        MFSetAttributeRatio(made.get(), MF_MT_PIXEL_ASPECT_RATIO, 1, 1);
        return made;
    }
    void begin() {
        DWORD stream = 7;
        EXPECT_EQ(writer->AddStream(type(MFVideoFormat_H264).get(), &stream), S_OK);
        EXPECT_EQ(writer->SetInputMediaType(stream, type(MFVideoFormat_NV12).get(), nullptr), S_OK);
        EXPECT_EQ(writer->BeginWriting(), S_OK);
    }
    ComPointer<IMFSample> sample(const Bytes& picture, std::int64_t slot) const {
        ComPointer<IMFMediaBuffer> buffer;
        ComPointer<IMFSample> made;
        BYTE* target = nullptr;
        const DWORD length = static_cast<DWORD>(picture.size());
        MFCreateMemoryBuffer(length, buffer.put());
        buffer->Lock(&target, nullptr, nullptr);
        std::memcpy(target, picture.data(), length);
        buffer->Unlock();
        buffer->SetCurrentLength(length);
        MFCreateSample(made.put());
        made->AddBuffer(buffer.get());
        made->SetSampleTime(timeOf(slot));
        made->SetSampleDuration(timeOf(slot + 1) - timeOf(slot));
        return made;
    }
    HRESULT write(const Bytes& picture, std::int64_t slot) {
        return writer->WriteSample(0, sample(picture, slot).get());
    }

    // Four flat quarters; `shade` makes pictures that differ in the first one.
    Bytes quarters(int shade = 0) const {
        Bytes picture(static_cast<std::size_t>(width) * height * 3 / 2, 128);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                picture[y * width + x] =
                    static_cast<std::uint8_t>(y < height / 2 ? (x < width / 2 ? 40 + shade : 90)
                                                             : (x < width / 2 ? 160 : 230));
        return picture;
    }
    Bytes noise(unsigned seed) const {
        Bytes picture(static_cast<std::size_t>(width) * height * 3 / 2, 128);
        std::mt19937 source(seed);
        for (int at = 0; at < width * height; ++at)
            picture[at] = static_cast<std::uint8_t>(16 + source() % 200);
        return picture;
    }

    int width, height;
    ScratchFolder folder;
    Path file = folder.path / "é clip.mp4";
    ComPointer<IMFSinkWriter> writer;
};

TEST(SinkWriter, writesWhatWasDeclared) {
    for (const auto& [width, height] :
         {std::pair{16, 16}, {1000, 602}, {1920, 1080}, {3840, 2160}}) {
        Take take(width, height);
        take.begin();
        for (int slot = 0; slot < 4; ++slot)
            ASSERT_EQ(take.write(take.quarters(slot * 20), slot), S_OK);
        ASSERT_EQ(take.writer->Finalize(), S_OK);
        const Clip clip = readClip(take.file);
        EXPECT_EQ(clip.description, "h264 " + std::to_string(width) + "x" + std::to_string(height) +
                                        " 30/1 smpte170m tv 1:1 streams=1");
        int slot = 0;
        forEachPicture(take.file, clip, [&](const ClipPicture& picture) {
            const int right = width * 3 / 4, low = height * 3 / 4;
            EXPECT_NEAR(picture.luma(width / 4, height / 4), 40 + slot++ * 20, 3);
            EXPECT_NEAR(picture.luma(right, height / 4), 90, 3);
            EXPECT_NEAR(picture.luma(width / 4, low), 160, 3);
            EXPECT_NEAR(picture.luma(right, low), 230, 3);
            EXPECT_NEAR(picture.u(right, low), 128, 3);
        });
        EXPECT_EQ(slot, 4);
    }
}

TEST(SinkWriter, keepsTheTimesOfItsSamples) {
    Take take(64, 64);
    take.begin();
    const std::vector<std::int64_t> slots{0, 1, 2, 6, 7, 30, 31};
    for (const std::int64_t slot : slots)
        ASSERT_EQ(take.write(take.quarters(int(slot)), slot), S_OK);
    ASSERT_EQ(take.writer->Finalize(), S_OK);
    const Clip clip = readClip(take.file);
    ASSERT_EQ(clip.times.size(), slots.size());
    for (std::size_t at = 0; at < slots.size(); ++at) EXPECT_EQ(clip.times[at], timeOf(slots[at]));
    EXPECT_EQ(clip.durations.back(), timeOf(32) - timeOf(31));
    EXPECT_NEAR(clip.seconds, 32 / 30.0, 0.0001);
}

// Long runs of equal pictures are coded in another way than the rest, and the two ways meet at
// every change and at every key picture. A wrong count there shows as a wrong picture or as words
// of the decoder.
TEST(SinkWriter, showsTheRightPictureBetweenRunsOfEqualOnes) {
    Take take(320, 240);
    take.begin();
    std::vector<int> seeds;
    for (const int length : {40, 1, 1, 20, 2, 150, 9, 1, 8, 1, 1, 1, 70})
        seeds.insert(seeds.end(), length, seeds.empty() ? 1 : seeds.back() + 1);
    std::map<int, Bytes> pictures;
    for (std::size_t slot = 0; slot < seeds.size(); ++slot) {
        Bytes& picture = pictures.try_emplace(seeds[slot], take.noise(seeds[slot])).first->second;
        ASSERT_EQ(take.write(picture, slot), S_OK);
    }
    ASSERT_EQ(take.writer->Finalize(), S_OK);
    const Clip clip = readClip(take.file);
    ASSERT_EQ(clip.times.size(), seeds.size());
    std::size_t slot = 0;
    forEachPicture(take.file, clip, [&](const ClipPicture& picture) {
        const Bytes& sent = pictures[seeds.at(slot++)];
        double difference = 0;
        for (int at = 0; at < 320 * 240; ++at)
            difference += std::abs(picture.planes[at] - sent[at]);
        EXPECT_LT(difference / (320 * 240), 25)
            << "slot " << slot - 1;  // another picture: about 67
    });
    EXPECT_EQ(slot, seeds.size());
}

TEST(SinkWriter, keepsToTheBitRate) {
    Take take(640, 480);
    take.begin();
    constexpr int count = 120;
    for (int slot = 0; slot < count; ++slot) ASSERT_EQ(take.write(take.noise(slot), slot), S_OK);
    ASSERT_EQ(take.writer->Finalize(), S_OK);
    EXPECT_NEAR(static_cast<double>(std::filesystem::file_size(take.file)) * 8 * 30 / count, 12e6,
                4e6);
}

TEST(SinkWriter, tellsOfAFullDisk) {
    Take take(640, 480);
    desktop::limitDisk(300'000);
    take.begin();
    HRESULT result = S_OK;
    for (int slot = 0; slot < 60 && result == S_OK; ++slot)
        result = take.write(take.noise(slot), slot);
    if (result == S_OK) result = take.writer->Finalize();
    desktop::limitDisk(-1);
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_LE(std::filesystem::file_size(take.file), 300'000u);
}

TEST(SinkWriter, leavesTheFileBehindWhenItIsGivenUp) {
    {
        Take take(640, 480);
        take.begin();
        const Bytes picture = take.noise(1);
        for (int slot = 0; slot < 300; ++slot) take.write(picture, slot);
        EXPECT_EQ(DeleteFileW(take.file.string<WCHAR>().c_str()), FALSE) << "while it is written";
        take.writer.reset();
        EXPECT_THROW(readClip(take.file), std::runtime_error);
        EXPECT_EQ(DeleteFileW(take.file.string<WCHAR>().c_str()), TRUE);
    }
    EXPECT_EQ(desktop::openObjects(), (std::map<std::string, int>{}));
}

TEST(SinkWriter, refusesWhatComesInTheWrongOrder) {
    Take take(64, 64);
    const Bytes picture = take.quarters();
    DWORD stream = 0;
    EXPECT_EQ(take.writer->BeginWriting(), MF_E_INVALIDREQUEST);
    EXPECT_EQ(take.write(picture, 0), MF_E_INVALIDREQUEST);
    EXPECT_EQ(take.writer->SetInputMediaType(0, take.type(MFVideoFormat_NV12).get(), nullptr),
              MF_E_INVALIDSTREAMNUMBER);
    take.height = 63;
    EXPECT_EQ(take.writer->AddStream(take.type(MFVideoFormat_H264).get(), &stream),
              MF_E_INVALIDMEDIATYPE);
    take.height = 64;
    EXPECT_EQ(take.writer->AddStream(take.type(MFVideoFormat_H264).get(), &stream), S_OK);
    take.width = 66;
    EXPECT_EQ(take.writer->SetInputMediaType(stream, take.type(MFVideoFormat_NV12).get(), nullptr),
              MF_E_INVALIDMEDIATYPE);
    take.width = 64;
    EXPECT_EQ(take.writer->SetInputMediaType(stream, take.type(MFVideoFormat_NV12).get(), nullptr),
              S_OK);
    EXPECT_EQ(take.writer->BeginWriting(), S_OK);
    EXPECT_EQ(take.writer->WriteSample(1, take.sample(picture, 0).get()), MF_E_INVALIDSTREAMNUMBER);
    EXPECT_EQ(take.write(Bytes(100), 0), E_INVALIDARG);
    EXPECT_EQ(take.write(picture, 0), S_OK);
    EXPECT_EQ(take.writer->Finalize(), S_OK);
    EXPECT_EQ(take.write(picture, 1), MF_E_INVALIDREQUEST);
    EXPECT_EQ(take.writer->Finalize(), MF_E_INVALIDREQUEST);
}

}  // namespace
