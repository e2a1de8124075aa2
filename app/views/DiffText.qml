import QtQuick
import Vesk

// The correction with its changes marked: removed words struck through in red, added words on green.
Text {
    id: diff

    // Runs of {text, kind}, kind "same", "deleted" or "inserted".
    property var pieces: []
    property color deletedColor: Theme.deletedText
    property color deletedBackground: Theme.deletedBackground
    property color insertedColor: Theme.insertedText
    property color insertedBackground: Theme.insertedBackground

    function escaped(text) {
        return text.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;")
                   .replace(/"/g, "&quot;").replace(/\n/g, "<br/>")
    }

    function html(runs) {
        let out = ""
        let previous = ""
        for (const run of runs) {
            // A thin gap keeps a struck-out word from running into its replacement.
            if (previous === "deleted" && run.kind === "inserted")
                out += "\u2009"
            previous = run.kind
            const text = escaped(run.text)
            if (run.kind === "deleted")
                out += "<span style=\"color:" + deletedColor + "; background-color:" + deletedBackground
                       + "; text-decoration: line-through;\">" + text + "</span>"
            else if (run.kind === "inserted")
                out += "<span style=\"color:" + insertedColor + "; background-color:" + insertedBackground
                       + ";\">" + text + "</span>"
            else
                out += text
        }
        // pre-wrap keeps the user's runs of spaces and still wraps long lines.
        return "<div style=\"white-space: pre-wrap;\">" + out + "</div>"
    }

    textFormat: Text.RichText
    wrapMode: Text.Wrap
    color: Theme.textBody
    font.pixelSize: Theme.fontText
    lineHeight: 1.2
    text: html(pieces)
}
