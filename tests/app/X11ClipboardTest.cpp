#include "X11Testing.h"
#include "app/platform/SystemClipboard.h"

#include <QBuffer>
#include <QClipboard>
#include <QImage>
#include <QMimeData>
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
    // Reads the clipboard as another client does; our event loop keeps answering meanwhile.
    static test::Finished read(const QString& format)
    {
        return runTool("xclip", {"-o", "-selection", "clipboard", "-t", format});
    }
    void snapshotThenRestoreAfterAnotherCopy()
    {
        m_saved = m_clipboard.snapshot();
        setForeign("something else", "UTF8_STRING");
        m_clipboard.restore(m_saved);
    }

    SystemClipboard m_clipboard;
    ClipboardContents m_saved;
};

TEST_F(X11ClipboardTest, SingleFormatOffersComeBackByteForByte)
{
    using Kind = ClipboardContents::Kind;
    const std::tuple<const char*, QByteArray, Kind> offers[] = {
        {"UTF8_STRING", "Th\xc3\xa9 qu\xc3\xaf" "ck fox\n\tjumps  ", Kind::strings},
        {"text/html", "<meta charset=\"utf-8\"><b>bold</b> &amp; caf\xc3\xa9", Kind::items},
        {"text/uri-list", "file:///tmp/a%20b.txt\r\nfile:///tmp/c.txt\r\n", Kind::items},
    };
    QSignalSpy changed(&m_clipboard, &Clipboard::changed);
    for (const auto& [format, data, kind] : offers) {
        SCOPED_TRACE(format);
        setForeign(data, format);
        snapshotThenRestoreAfterAnotherCopy();
        EXPECT_EQ(m_saved.kind, kind);
        EXPECT_EQ(read(format).out, data);
        if (kind == Kind::strings) {
            EXPECT_EQ(m_clipboard.text(), QString::fromUtf8(data));
        }
    }
    EXPECT_GE(changed.count(), 3);
}

TEST_F(X11ClipboardTest, RichTextWithPlainTextKeepsEveryFormat)
{
    auto* rich = new QMimeData;
    rich->setText("bold and plain");
    rich->setHtml("<b>bold</b> and plain");
    QGuiApplication::clipboard()->setMimeData(rich, QClipboard::Clipboard);
    snapshotThenRestoreAfterAnotherCopy();
    EXPECT_EQ(m_saved.kind, ClipboardContents::Kind::items) << "several formats are not plain strings";
    EXPECT_EQ(read("text/html").out, "<b>bold</b> and plain");
    EXPECT_EQ(read("UTF8_STRING").out, "bold and plain");
}

TEST_F(X11ClipboardTest, ImageComesBackAsTheSamePngAndOtherImageFormats)
{
    QImage image(64, 48, QImage::Format_ARGB32);
    image.fill(QColor(40, 90, 160, 200));
    QByteArray png;
    QBuffer buffer(&png);
    ASSERT_TRUE(image.save(&buffer, "PNG"));
    setForeign(png, "image/png");
    snapshotThenRestoreAfterAnotherCopy();
    EXPECT_EQ(read("image/png").out, png);
    const QByteArray targets = read("TARGETS").out;
    EXPECT_TRUE(targets.contains("image/bmp"))
        << "offered for programs that want another format: " << targets.toStdString();
}

TEST_F(X11ClipboardTest, EmptyClipboardIsRestoredEmpty)
{
    QGuiApplication::clipboard()->clear(QClipboard::Clipboard);
    QTest::qWait(50);
    const ClipboardContents saved = m_clipboard.snapshot();
    EXPECT_EQ(saved.kind, ClipboardContents::Kind::empty);
    setForeign("selected text", "UTF8_STRING");
    m_clipboard.restore(saved);
    EXPECT_TRUE(read("TARGETS").out.isEmpty());
    EXPECT_NE(read("UTF8_STRING").exitCode, 0) << "no owner: nothing to paste";
}

TEST_F(X11ClipboardTest, TransientTextIsMarkedForClipboardManagers)
{
    m_clipboard.setTransientText("corrected");
    EXPECT_EQ(read("UTF8_STRING").out, "corrected");
    EXPECT_EQ(read("x-kde-passwordManagerHint").out, "secret");
}

} // namespace
} // namespace vesk::app
