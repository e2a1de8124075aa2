#include "X11Testing.h"
#include "app/platform/SystemClipboard.h"

#include <QBuffer>
#include <QClipboard>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

namespace vesk::app {
namespace {

using test::runTool;

TEST(SystemClipboardFormatsTest, KeepsWhatAUserCopiedAndOneImage)
{
    EXPECT_EQ(SystemClipboard::usefulFormats({"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "UTF8_STRING",
                                              "text/plain", "text/html", "text/uri-list",
                                              "application/x-kde-cutselection", "x-special/gnome-copied-files"}),
              QStringList({"text/plain", "text/html", "text/uri-list", "application/x-kde-cutselection",
                           "x-special/gnome-copied-files"}));
    EXPECT_EQ(SystemClipboard::usefulFormats(
                  {"image/bmp", "image/jpeg", "image/png", "application/x-qt-image", "image/x-xpixmap"}),
              QStringList({"image/png"}))
        << "PNG is kept; the others are rebuilt from it";
    EXPECT_EQ(SystemClipboard::usefulFormats({"image/bmp", "image/jpeg"}), QStringList({"image/bmp"}));
}

class X11ClipboardTest : public test::X11Test
{
protected:
    // Another client takes the clipboard; waits until Qt has heard of the new owner.
    void setForeign(const QByteArray& data, const QString& format)
    {
        const quint64 before = m_clipboard.changeCount();
        ASSERT_EQ(runTool("xclip", {"-selection", "clipboard", "-t", format, "-i"}, data).exitCode, 0);
        ASSERT_TRUE(QTest::qWaitFor([&] { return m_clipboard.changeCount() != before; }, 3000))
            << "the change count moves when another client sets the clipboard";
    }
    static test::Finished read(const QString& format)
    {
        return runTool("xclip", {"-o", "-selection", "clipboard", "-t", format});
    }

    SystemClipboard m_clipboard;
};

// Rich text with its plain text coming back after a paste is the desktop flow's; here plain text, another
// single format, and an image last, so that other programs are also offered the formats rebuilt from its PNG.
TEST_F(X11ClipboardTest, SingleFormatOffersComeBackByteForByte)
{
    using Kind = ClipboardContents::Kind;
    QImage image(64, 48, QImage::Format_ARGB32);
    image.fill(QColor(40, 90, 160, 200));
    QByteArray png;
    QBuffer buffer(&png);
    ASSERT_TRUE(image.save(&buffer, "PNG"));
    const std::tuple<const char*, QByteArray, Kind> offers[] = {
        {"UTF8_STRING", "Th\u00e9 qu\u00efck fox\n\tjumps  ", Kind::strings},
        {"text/uri-list", "file:///tmp/a%20b.txt\r\nfile:///tmp/c.txt\r\n", Kind::items},
        {"image/png", png, Kind::items},
    };
    QSignalSpy changed(&m_clipboard, &Clipboard::changed);
    for (const auto& [format, data, kind] : offers) {
        SCOPED_TRACE(format);
        setForeign(data, format);
        const ClipboardContents saved = m_clipboard.snapshot();
        setForeign("something else", "UTF8_STRING");
        m_clipboard.restore(saved);
        EXPECT_EQ(saved.kind, kind);
        EXPECT_EQ(read(format).out, data);
        if (kind == Kind::strings) {
            EXPECT_EQ(m_clipboard.text(), QString::fromUtf8(data));
        }
    }
    EXPECT_GE(changed.count(), 4);
    EXPECT_TRUE(read("TARGETS").out.contains("image/bmp"));
}

TEST_F(X11ClipboardTest, EmptyClipboardIsRestoredEmpty)
{
    QGuiApplication::clipboard()->clear(QClipboard::Clipboard);
    QTest::qWait(50);
    const ClipboardContents saved = m_clipboard.snapshot();
    setForeign("selected text", "UTF8_STRING");
    m_clipboard.restore(saved);
    EXPECT_TRUE(read("TARGETS").out.isEmpty());
    EXPECT_NE(read("UTF8_STRING").exitCode, 0) << "no owner: nothing to paste";
}

TEST_F(X11ClipboardTest, TransientTextIsMarkedForClipboardManagers)
{
    m_clipboard.setTransientText("corrected"); // that it is pasted is the desktop flow's
    EXPECT_EQ(read("x-kde-passwordManagerHint").out, "secret");
}

} // namespace
} // namespace vesk::app
