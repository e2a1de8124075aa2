// A plain Qt text editor for the Wayland end-to-end tests: opens FILE, Ctrl+S writes it back (with
// --save-on-change, so does every change: the benchmark on KWin, which lists no windows, times the paste by
// the file). Its window title is the file's name, its app id vesk-qt-editor.
//
//   vesk_wayland_qt_editor [--save-on-change] FILE
#include <QApplication>
#include <QFile>
#include <QPlainTextEdit>
#include <QShortcut>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setDesktopFileName(QStringLiteral("vesk-qt-editor"));
    const QString path = QApplication::arguments().constLast();
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return 2;
    }
    QPlainTextEdit editor;
    editor.setPlainText(QString::fromUtf8(file.readAll()));
    editor.setWindowTitle(path.section(u'/', -1));
    const auto write = [&] {
        QFile out(path);
        if (out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            out.write(editor.toPlainText().toUtf8());
        }
    };
    QShortcut save(QKeySequence::Save, &editor);
    QObject::connect(&save, &QShortcut::activated, &editor, write);
    if (QApplication::arguments().contains(QStringLiteral("--save-on-change"))) {
        QObject::connect(&editor, &QPlainTextEdit::textChanged, &editor, write);
    }
    editor.show();
    return QApplication::exec();
}
