// Test main shared by every suite: builds the Qt application object first.
// The platform comes from QT_QPA_PLATFORM (CTest sets offscreen, or xcb for the suites
// that need an X display); offscreen when it is unset.
#include <QApplication>

#include <gtest/gtest.h>

#include <cstring>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--gtest_list_tests") == 0)
            return RUN_ALL_TESTS();
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
