// SPDX-License-Identifier: MIT
// Notes in an object store, on a terminal.
//
// usage: notes [-s FILE] [COMMAND [ARGUMENT...]]
//
//   add TITLE[: TEXT]            list [COUNT]      search WORDS      show NUMBER
//   edit NUMBER TITLE[: TEXT]    delete NUMBER     undo, redo
//   export [FILE]                import FILE       import COUNT      help, quit
//
// Without a command it reads commands from standard input, a line each. -s names the store's file; without it the notes
// are in the application's private folder. import reads what export wrote; with a number it makes so many notes.
// It ends with 0 if all went well, 1 if some command failed, 64 for arguments that it doesn't understand, and 74 if the
// store can't be opened.
#include "ZRKit/Network/ZRJSON.h"
#include "examples/notes/Notebook.h"
#include "examples/notes/Progress.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <sysexits.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *commands =
    "  add TITLE[: TEXT]            list [COUNT]      search WORDS      show NUMBER\n"
    "  edit NUMBER TITLE[: TEXT]    delete NUMBER     undo, redo\n"
    "  export [FILE]                import FILE       import COUNT      help, quit\n";
constexpr int mostMade = 1'000'000;

void print(const QString &line) {
    std::puts(line.toUtf8().constData());
}

bool complain(const QString &what) {
    std::fprintf(stderr, "notes: %s\n", what.toUtf8().constData());
    return false;
}

/// A count or number from 1 on; none for anything else.
std::optional<qint64> numberIn(const QString &text) {
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber && number > 0 ? std::optional(number) : std::nullopt;
}

void printLines(const QList<Note *> &notes) {
    for (const Note *note : notes)
        print(u"%1  %2  %3"_s.arg(note->number(), 6)
                  .arg(note->created().toLocalTime().toString(u"yyyy-MM-dd"), note->title()));
}

/// A title, and what follows a colon; nil if there is none.
std::pair<QString, QString> titleAndText(const QString &given) {
    const qsizetype colon = given.indexOf(u": "_s);
    return colon < 0 ? std::pair(given.trimmed(), QString())
                     : std::pair(given.left(colon).trimmed(), given.mid(colon + 2).trimmed());
}

class Shell {
public:
    explicit Shell(Notebook &notebook) : m_notebook(notebook) {}

    /// Whether the command went well.
    bool run(const QString &command, const QString &rest) {
        if (command == u"add")
            return add(rest);
        if (command == u"list")
            return list(rest);
        if (command == u"search")
            return search(rest);
        if (command == u"show")
            return show(rest);
        if (command == u"edit")
            return edit(rest);
        if (command == u"delete")
            return remove(rest);
        if (command == u"undo")
            return m_notebook.undo() || complain(u"nothing to undo"_s);
        if (command == u"redo")
            return m_notebook.redo() || complain(u"nothing to redo"_s);
        if (command == u"export")
            return write(rest);
        if (command == u"import")
            return read(rest);
        if (command != u"help")
            return complain(u"unknown command \"%1\"; help lists them"_s.arg(command));
        std::fputs(commands, stdout);
        return true;
    }

private:
    bool add(const QString &given) {
        const auto [title, text] = titleAndText(given);
        if (title.isEmpty())
            return complain(u"add needs a title"_s);
        const Note *const note = m_notebook.add(title, text.isNull() ? u""_s : text);
        if (note)
            print(QString::number(note->number()));
        return note;
    }

    bool list(const QString &given) {
        const auto count = given.isEmpty() ? std::optional<qint64>(20) : numberIn(given);
        if (!count)
            return complain(u"list needs a number from 1 on, not \"%1\""_s.arg(given));
        printLines(m_notebook.latest(*count));
        return true;
    }

    bool search(const QString &words) {
        if (words.isEmpty())
            return complain(u"search needs words"_s);
        printLines(m_notebook.search(words));
        return true;
    }

    Note *noteOf(const QString &number) {
        const auto wanted = numberIn(number);
        Note *const note = wanted ? m_notebook.find(*wanted) : nullptr;
        if (!note)
            complain(u"no note \"%1\""_s.arg(number));
        return note;
    }

    bool show(const QString &number) {
        const Note *const note = noteOf(number);
        if (!note)
            return false;
        printLines({const_cast<Note *>(note)});
        if (!note->text().isEmpty())
            print(note->text());
        return true;
    }

    bool edit(const QString &given) {
        Note *const note = noteOf(given.section(u' ', 0, 0));
        if (!note)
            return false;
        const auto [title, text] = titleAndText(given.section(u' ', 1));
        return title.isEmpty() ? complain(u"edit needs a title"_s) : m_notebook.edit(*note, title, text);
    }

    bool remove(const QString &number) {
        Note *const note = noteOf(number);
        return note && m_notebook.remove(*note);
    }

    bool write(const QString &path) {
        const QByteArray json = m_notebook.exported();
        if (path.isEmpty()) {
            std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
            return true;
        }
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
            return complain(path + u": "_s + file.errorString());
        return true;
    }

    bool read(const QString &given) {
        QVariantList notes;
        const auto made = numberIn(given);
        if (made && *made > mostMade)
            return complain(u"import makes %1 notes at most"_s.arg(mostMade));
        if (!made) {
            QFile file(given);
            if (given.isEmpty() || !file.open(QIODevice::ReadOnly))
                return complain(given.isEmpty() ? u"import needs a file or a number"_s
                                                : given + u": "_s + file.errorString());
            const QVariant json = ZRKit::fromJSONData(file.readAll());
            if (json.typeId() != QMetaType::QVariantList)
                return complain(given + u": not an array of notes in JSON"_s);
            notes = json.toList();
        }
        const int count = int(made.value_or(notes.size()));
        const auto note = [&](int i) {
            return made ? QVariantMap{{u"title"_s, u"Note number %1"_s.arg(i + 1)},
                                      {u"text"_s, u"One of %1 that were made."_s.arg(count)}}
                        : notes[i].toMap();
        };
        int done = 0;
        {
            Progress progress(count);
            done = m_notebook.import(count, note, [&](int now) { progress.show(now); });
        }
        print(u"%1 of %2 notes imported"_s.arg(done).arg(count));
        return done == count;
    }

    Notebook &m_notebook;
};

/// Runs the commands of standard input; whether all went well.
bool runLines(Shell &shell) {
    const bool isTerminal = ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO);
    bool isWell = true;
    for (std::string line;
         (isTerminal && std::fputs("> ", stdout) >= 0, std::fflush(stdout), std::getline(std::cin, line));) {
        const QString text = QString::fromStdString(line).trimmed();
        const QString command = text.section(u' ', 0, 0);
        if (command == u"quit")
            break;
        if (!command.isEmpty() && !shell.run(command, text.section(u' ', 1).trimmed()))
            isWell = false;
        // What was done is one group for undo.
        QCoreApplication::processEvents();
    }
    return isWell;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"Notes"_s);
    QCoreApplication::setOrganizationDomain(u"example.com"_s);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.value(0) == u"-h" || arguments.value(0) == u"--help") {
        std::printf("usage: notes [-s FILE] [COMMAND [ARGUMENT...]]\n%s", commands);
        return EX_OK;
    }
    QString path;
    if (arguments.value(0) == u"-s") {
        path = arguments.value(1);
        arguments = arguments.mid(2);
        if (path.isEmpty()) {
            complain(u"-s needs a file"_s);
            return EX_USAGE;
        }
    }
    if (arguments.value(0).startsWith(u'-')) {
        complain(u"unknown option "_s + arguments.first());
        return EX_USAGE;
    }
    Notebook notebook(path);
    if (!notebook.open())
        return EX_IOERR;
    Shell shell(notebook);
    if (arguments.isEmpty())
        return runLines(shell) ? EX_OK : 1;
    const QString command = arguments.takeFirst();
    return shell.run(command, arguments.join(u' ')) ? EX_OK : 1;
}
