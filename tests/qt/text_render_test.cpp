// Code page 950 conversion and what a person finally sees: Chinese glyphs, not boxes.
#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetrics>
#include <QImage>
#include <QLabel>
#include <QWidget>

#include <gtest/gtest.h>

#include "adapters/qt/convert.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "host/ui/controls.h"
#include "host/ui/device_context.h"
#include "tests/qt/qt_test_support.h"

namespace {

using host::ui::Rect;
using qthost::fromQString;
using qthost::toQString;

TEST(TextCodecTest, RoundTripsTheCharactersOtherTablesBreak) {
    EXPECT_EQ(qthost::codecKind(), qthost::CodecKind::kToolkit) << "ICU's converter should be there";
    const struct {
        const char* utf8;
        CString cp950;
    } cases[] = {
        {"許", "\xB3\x5C"}, // trail byte is a backslash
        {"功", "\xA5\x5C"}, // same
        {"€", "\xA3\xE1"},  // missing from IBM's table
        {"碁", "\xF9\xD6"}, // Microsoft extension
        {"台積電 2330", "\xA5\x78\xBF\x6E\xB9\x71 2330"},
        {"[ \\ ]", "[ \\ ]"},
    };
    for (const auto& c : cases) {
        const QString unicode = QString::fromUtf8(c.utf8);
        EXPECT_EQ(toQString(c.cp950), unicode) << c.utf8;
        EXPECT_EQ(fromQString(unicode), c.cp950) << c.utf8;
    }
}

TEST(TextCodecTest, BadInputDecodesWithoutFailing) {
    // A lone lead byte at the end, an invalid byte, and a character with no Big5 form.
    EXPECT_FALSE(toQString("\xB3").isEmpty());
    EXPECT_FALSE(toQString("ab\xFF\x30").isEmpty());
    EXPECT_EQ(toQString(std::string_view("a\0b", 3)).size(), 3);
    EXPECT_EQ(fromQString(QString::fromUtf8("A🙂B")), "A?B");
    EXPECT_EQ(fromQString(QString()), "");
}

// Dark pixels in a region of an image drawn black on white.
int inkIn(const QImage& image, const QRect& region) {
    int ink = 0;
    for (int y = region.top(); y <= region.bottom(); ++y) {
        for (int x = region.left(); x <= region.right(); ++x) {
            if (qGray(image.pixel(x, y)) < 128) {
                ++ink;
            }
        }
    }
    return ink;
}

class PaintingHandler : public host::ui::WindowHandler {
public:
    host::ui::LRESULT handleMessage(const host::ui::Message&) override { return 0; }
    host::ui::LRESULT eraseBackground(host::ui::DeviceContext& dc) override {
        dc.fillRect(Rect{0, 0, 400, 200}, host::ui::RGB(255, 255, 255));
        return 1;
    }
    void paint(host::ui::DeviceContext& dc) override {
        host::ui::Font font;
        font.height = -24;
        dc.selectFont(font);
        dc.setTextColor(host::ui::RGB(0, 0, 0));
        dc.setBkTransparent(true);
        dc.textOut(10, 10, "\xB7\x73\xBB\x44\xA7\xD6\xB0\x54"); // 新聞快訊
        dc.drawText("\xA5\x78\xBF\x6E\xB9\x71", Rect{10, 60, 300, 100},
                    host::ui::win::DT_LEFT | host::ui::win::DT_VCENTER | host::ui::win::DT_SINGLELINE); // 台積電
        extent = dc.textExtent("\xB7\x73\xBB\x44");
    }
    host::ui::Size extent;
};

TEST(RenderTest, AWindowShowsChineseGlyphsInTheTraditionalChineseFont) {
    ASSERT_TRUE(QFontDatabase::families().contains(QStringLiteral("Noto Sans CJK TC"))) << "install fonts-noto-cjk";
    const QFont font = qthost::toQFont(host::ui::Font{});
    EXPECT_EQ(QFontInfo(font).family(), QStringLiteral("Noto Sans CJK TC"));
    EXPECT_TRUE(QFontMetrics(font).inFontUcs4(U'聞'));
    EXPECT_EQ(QFontInfo(font).pixelSize(), 12) << "a negative height is the character height";

    qthost::QtUiHost host;
    PaintingHandler handler;
    host::ui::Window* window = host.createWindow(nullptr, 1, Rect{0, 0, 400, 200}, &handler);
    QWidget* widget = qthost::QtUiHost::widgetOf(window);
    qttest::showActive(widget);
    const QImage image = widget->grab().toImage();
    ASSERT_EQ(image.size(), QSize(400, 200));
    const int title = inkIn(image, QRect(10, 10, 120, 30));
    const int name = inkIn(image, QRect(10, 60, 120, 40));
    const int empty = inkIn(image, QRect(200, 120, 150, 60));
    EXPECT_GT(title, 150) << "four CJK glyphs at 24 px leave plenty of ink";
    EXPECT_GT(name, 100);
    EXPECT_EQ(empty, 0);
    EXPECT_EQ(handler.extent.cx, 48) << "two full-width characters of 24 px";
    if (!qEnvironmentVariableIsEmpty("NEWS_QT_TEST_SCREENSHOTS")) {
        image.save(qEnvironmentVariable("NEWS_QT_TEST_SCREENSHOTS") + QStringLiteral("/render_test.png"));
    }

    // A static control shows the module's bytes as the same characters.
    host::ui::StaticText* label = window->createStatic(5, Rect{0, 150, 200, 180}, "\xB7\x73\xBB\x44");
    EXPECT_EQ(qobject_cast<QLabel*>(qthost::QtUiHost::widgetOf(label))->text(), QString::fromUtf8("新聞"));
    EXPECT_EQ(label->text(), "\xB7\x73\xBB\x44");
    window->destroy();
    qttest::drainEvents();
}

} // namespace
