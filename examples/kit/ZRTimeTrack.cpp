// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRTimeTrack.h"

#include "examples/kit/Example.h"

#include <QRegularExpression>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

// The log is the system's; hosts redirect it with Qt's message handler.
QStringList lines;

void keep(QtMsgType, const QMessageLogContext &, const QString &line) {
    lines.append(line);
}

bool logged(const QString &form) {
    return QRegularExpression(QRegularExpression::anchoredPattern(form)).match(lines.takeLast()).hasMatch();
}

} // namespace

EXAMPLE(ZRTimeTrack) {
    qInstallMessageHandler(keep);

    // zxTimeTrack: the first call of a name starts its clock; each logs the time since the last call and
    // since the start
    ZRKit::zxTimeTrack(u"import"_s, u"begun"_s);
    expect(logged(u"Time <import> \\[0\\.0000s of 0\\.0000s\\] begun"_s));
    ZRKit::zxTimeTrack(u"import"_s, u"parsed"_s);
    expect(logged(u"Time <import> \\[\\d+\\.\\d{4}s of \\d+\\.\\d{4}s\\] parsed"_s));

    // A nil message starts the clock again.
    ZRKit::zxTimeTrack(u"import"_s, QString());
    expect(logged(u"Time <import> \\[0\\.0000s of 0\\.0000s\\] "_s));

    // A nil name is the clock "main", and is logged as what it is.
    ZRKit::zxTimeTrack(QString(), u"drawn"_s);
    expect(logged(u"Time <\\(null\\)> \\[0\\.0000s of 0\\.0000s\\] drawn"_s));
}
