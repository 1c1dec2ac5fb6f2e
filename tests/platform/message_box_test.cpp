#include <gtest/gtest.h>

#include <support/messages.h>
#include <vorlane/platform/message_box.h>

namespace {

int answer_seven(const char*, unsigned, unsigned) {
    return 7;
}

TEST(MessageBox, HandlerGetsAllAndItsAnswerComesBack) {
    MessageCatcher catcher(2);
    EXPECT_EQ(AfxMessageBox("100 % of %s", 1, 3), 2);
    const auto messages = catcher.take();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, "100 % of %s");
    EXPECT_EQ(messages[0].type, 1u);
    EXPECT_EQ(messages[0].help_id, 3u);
}

TEST(MessageBox, SettingAHandlerReturnsTheFormerOne) {
    EXPECT_EQ(SetMessageBoxHandler(answer_seven), nullptr);
    EXPECT_EQ(AfxMessageBox("", 0, 0), 7);
    EXPECT_EQ(SetMessageBoxHandler(nullptr), &answer_seven);
}

TEST(MessageBox, DefaultPrintsToStandardErrorAndAnswersOk) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(AfxMessageBox("at 5 %d", 0, 0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "at 5 %d\n");
}

} // namespace
