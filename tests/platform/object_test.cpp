#include <memory>

#include <gtest/gtest.h>

#include <vorlane/histogram/histogram.h>
#include <vorlane/movie/video.h>
#include <vorlane/volume/volume.h>

namespace {

template<class Class>
void expect_record(const CRuntimeClass& record, const char* name) {
    SCOPED_TRACE(name);
    EXPECT_STREQ(record.m_lpszClassName, name);
    EXPECT_EQ(record.m_nObjectSize, static_cast<int>(sizeof(Class)));
    EXPECT_EQ(record.m_wSchema, 0u);
    EXPECT_EQ(record.m_pfnCreateObject, &Class::CreateObject);
    EXPECT_EQ(record.m_pfnGetBaseClass(), &CObject::classCObject);
    EXPECT_EQ(record.m_pNextClass, nullptr);
    const std::unique_ptr<CObject> object(record.m_pfnCreateObject());
    ASSERT_NE(dynamic_cast<Class*>(object.get()), nullptr);
    EXPECT_EQ(object->GetRuntimeClass(), &record);
}

TEST(RuntimeClass, RecordsAndTheObjectsTheyCreate) {
    expect_record<CDib>(CDib::classCDib, "CDib");
    expect_record<CHistogram>(CHistogram::classCHistogram, "CHistogram");
    expect_record<CImage>(CImage::classCImage, "CImage");
    expect_record<CVideo>(CVideo::classCVideo, "CVideo");
    expect_record<CVolume>(CVolume::classCVolume, "CVolume");
}

TEST(RuntimeClass, ClassesAreRegisteredInOrder) {
    const CRuntimeClass* const records[] = {&CDib::classCDib,       &CHistogram::classCHistogram,
                                            &CImage::classCImage,   &CVideo::classCVideo,
                                            &CVolume::classCVolume, nullptr};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(AfxRegisteredClass(k), records[k]) << k;
    EXPECT_EQ(AfxRegisteredClass(-1), nullptr);
}

TEST(RuntimeClass, RegisteringTwiceChangesNothing) {
    AfxClassInit(&CImage::classCImage);
    AfxClassInit(nullptr);
    EXPECT_EQ(AfxRegisteredClass(5), nullptr);
}

} // namespace
