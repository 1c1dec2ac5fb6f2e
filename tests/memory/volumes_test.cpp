// Volumes where memory runs short at any of their requests.

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <support/failing_memory.h>
#include <support/scratch_folder.h>
#include <support/volumes.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/platform/message_box.h>

namespace {

int boxes = 0;

class ShortMemoryOfVolumes : public testing::Test {
protected:
    ShortMemoryOfVolumes()
        : former_(
              SetMessageBoxHandler([](const char*, unsigned, unsigned) { return ++boxes, 1; })) {}
    ~ShortMemoryOfVolumes() override { SetMessageBoxHandler(former_); }

    ScratchFolder folder;

private:
    MessageBoxHandler former_;
};

std::vector<Line> slices_of(const CVolume& volume) {
    std::vector<Line> slices;
    for (int k = 0; k < volume.nslices; ++k)
        slices.push_back(samples_of(volume.slices[k]));
    return slices;
}

TEST_F(ShortMemoryOfVolumes, AreReadWholeOrABoxTells) {
    std::string bytes;
    for (int n = 0; n < 3; ++n) {
        const ImagePtr slice = make_random(5, 4, 0, static_cast<unsigned>(n), true);
        slice->file_format = 1;
        slice->WriteImage(folder.path("s" + std::to_string(n) + ".pgm").c_str());
        for (const float sample : samples_of(*slice))
            bytes += static_cast<char>(static_cast<unsigned char>(sample));
    }
    const std::string raw = folder.write("raw", bytes), place = folder.path();
    const std::string descriptions[] = {
        folder.write("v1", "V1\ndirectory=" + place +
                               "\nprefix=s\nstart slice=0\nend slice=2\n"
                               "suffix=.pgm\n"),
        folder.write("v2", "V2\nfile=" + raw + "\nnbf=3\nrow=5\ncol=4\nsize=1\n")};
    for (const std::string& path : descriptions) {
        CVolume whole;
        ASSERT_EQ(whole.ReadVolume(path.c_str()), 1);
        int result = 0;
        with_each_request_failing(
            [] {
                boxes = 0;
                return make_random_volume(2, 3, 3, 1);
            },
            [&](CVolume& volume) { result = volume.ReadVolume(path.c_str()); },
            [&](CVolume& volume) {
                if (result == 1 && boxes == 0) {
                    EXPECT_EQ(slices_of(volume), slices_of(whole));
                }
                EXPECT_TRUE(result == 1 || boxes == 1);
                delete volume.smooth_volume(1.0f);
                EXPECT_EQ(volume.ReadVolume(path.c_str()), 1);
                EXPECT_EQ(slices_of(volume), slices_of(whole));
            });
    }
}

TEST_F(ShortMemoryOfVolumes, ResultsAreWholeOrNull) {
    const auto subject = [] { return make_random_volume(4, 9, 8, 2); };
    const VolumePtr smooth(subject()->smooth_volume(1.0f));
    with_each_request_failing(
        [&] { return std::make_unique<std::pair<VolumePtr, VolumePtr>>(subject(), nullptr); },
        [](auto& volumes) { volumes.second.reset(volumes.first->smooth_volume(1.0f)); },
        [&](const auto& volumes) {
            if (volumes.second) {
                EXPECT_EQ(slices_of(*volumes.second), slices_of(*smooth));
            }
        });
    // All three planes of all slices, or none of a slice that had none.
    with_each_request_failing(
        subject, [](CVolume& volume) { volume.ridges(1.0f, 0.0f, 0, 0, 0); },
        [](CVolume& volume) {
            for (int k = 0; k < 4; ++k) {
                EXPECT_EQ(volume.slices[k].mag_plane, nullptr);
                EXPECT_EQ(volume.slices[k].scale_plane, nullptr);
            }
            volume.ridges(1.0f, 0.0f, 0, 0, 0);
            EXPECT_NE(volume.slices[3].dir_plane, nullptr);
        });
    vorlane::Plane coef(5, 5);
    ga(1.0f, coef.get());
    with_each_request_failing(subject, [&](CVolume&) {
        float line[] = {1, 2, 3, 4, 5};
        apply_IIR4_filter_z(coef.get(), line, 5);
        delete CVolume::CreateObject();
        const CVolume made(3, 4, 5, 1, 4, 6);
        for (int k = 0; made.slices && k < 3; ++k)
            delete made.slices[k].smooth_image(1.0f);
    });
}

} // namespace
