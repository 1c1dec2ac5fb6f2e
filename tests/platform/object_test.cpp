#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <vorlane/image/image.h>

namespace {

TEST(RuntimeClass, RecordOfImage) {
    const CRuntimeClass& record = CImage::classCImage;
    EXPECT_STREQ(record.m_lpszClassName, "CImage");
    EXPECT_EQ(record.m_nObjectSize, static_cast<int>(sizeof(CImage)));
    EXPECT_EQ(record.m_wSchema, 0u);
    EXPECT_EQ(record.m_pfnCreateObject, &CImage::CreateObject);
    EXPECT_EQ(record.m_pfnGetBaseClass, &CObject::_GetBaseClass);
    EXPECT_EQ(&CImage::_GetBaseClass, &CObject::_GetBaseClass);
    EXPECT_EQ(record.m_pfnGetBaseClass(), &CObject::classCObject);
    EXPECT_EQ(record.m_pNextClass, nullptr);
}

TEST(RuntimeClass, CreatedObjectsKnowTheirClass) {
    const std::unique_ptr<CObject> object(CImage::classCImage.m_pfnCreateObject());
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->GetRuntimeClass(), &CImage::classCImage);
    const auto& image = dynamic_cast<const CImage&>(*object);
    EXPECT_EQ(image.pixel_format, 6);
    EXPECT_EQ(image.pixels, nullptr);
}

// Other classes stand before and behind it; the order of names is alphabetical.
TEST(RuntimeClass, ClassesAreRegisteredInOrder) {
    std::string former;
    bool found_image = false;
    for (int k = 0; const CRuntimeClass* const record = AfxRegisteredClass(k); ++k) {
        EXPECT_LT(former, record->m_lpszClassName);
        former = record->m_lpszClassName;
        found_image = found_image || record == &CImage::classCImage;
    }
    EXPECT_TRUE(found_image);
    EXPECT_EQ(AfxRegisteredClass(-1), nullptr);
}

TEST(RuntimeClass, RegisteringTwiceChangesNothing) {
    int count = 0;
    while (AfxRegisteredClass(count))
        ++count;
    AfxClassInit(&CImage::classCImage);
    AfxClassInit(nullptr);
    EXPECT_EQ(AfxRegisteredClass(count), nullptr);
}

} // namespace
