// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRMacros.h"

#include "platform/files/NSBundle.h"
#include "platform/values/NSLog.h"

#include <array>
#include <cstdlib>
#include <execinfo.h>
#include <memory>

namespace ZRKit {

namespace {

QString callStack() {
    std::array<void *, 64> frames{};
    const int count = ::backtrace(frames.data(), int(frames.size()));
    const std::unique_ptr<char *, decltype(&std::free)> names(::backtrace_symbols(frames.data(), count),
                                                              &std::free);
    QString text;
    // The first two frames are this function and its caller, which say nothing of the failure.
    for (int i = 2; names && i < count; ++i)
        text += QString::fromUtf8(names.get()[i]) + QLatin1Char('\n');
    return text;
}

/// An entry of the application's information, which fails an assertion if it is missing or empty.
QString fromInfo(const char *key, const char *function, int line) {
    QString value = NSBundle::mainBundle().objectForInfoDictionaryKey(QString::fromLatin1(key)).toString();
    const QByteArray condition =
        QByteArray("([[[[NSBundle mainBundle] infoDictionary] objectForKey:@\"") + key + "\"] length])";
    if (value.isEmpty())
        zxAssertFailed(function, condition.constData(), "ZRMacros", line);
    return value;
}

} // namespace

void zxAssertFailed(const char *function, const char *condition, const char *file, int line,
                    const char *message) {
    NSLog("%@ <%@:%d> %s\n\n    %s failed assertion\n\n%@", message, file, line, function, condition,
          callStack());
}

QString zxAppName() {
    return fromInfo("CFBundleName", "NSString *zxAppName()", 424);
}

QString zxAppID() {
    return fromInfo("CFBundleIdentifier", "NSString *zxAppID()", 429);
}

} // namespace ZRKit
