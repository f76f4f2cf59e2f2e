// Runs the viewer's tests inside a QApplication on the offscreen platform, with the
// settings of the test mode so that no user's settings are touched.

#include <gtest/gtest.h>

#include <QApplication>
#include <QStandardPaths>
#include <QStyleFactory>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
