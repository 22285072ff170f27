#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

// GoogleTest's main with a QApplication. The tests run offscreen whatever the environment
// says (ctest also lists them with a plain run of this program), and Qt gets a private
// runtime folder of mode 0700 so that it does not warn about a missing or open one.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir runtimeDir(QDir::tempPath() + QStringLiteral("/qt-adapter-tests-XXXXXX"));
    if (runtimeDir.isValid()) {
        QFile::setPermissions(runtimeDir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeDir.path().toLocal8Bit());
    }
    testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
