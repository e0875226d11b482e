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

} // namespace

void zxAssertFailed(const char *function, const char *condition, const char *file, int line,
                    const char *message) {
    NSLog("%@ <%@:%d> %s\n\n    %s failed assertion\n\n%@", message, file, line, function, condition,
          callStack());
}

QString zxAppName() {
    QString name =
        NSBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("CFBundleName")).toString();
    if (name.isEmpty())
        zxAssertFailed("NSString *zxAppName()",
                       "([[[[NSBundle mainBundle] infoDictionary] objectForKey:@\"CFBundleName\"] length])",
                       "ZRMacros", 424);
    return name;
}

QString zxAppID() {
    QString identifier =
        NSBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("CFBundleIdentifier")).toString();
    if (identifier.isEmpty())
        zxAssertFailed(
            "NSString *zxAppID()",
            "([[[[NSBundle mainBundle] infoDictionary] objectForKey:@\"CFBundleIdentifier\"] length])",
            "ZRMacros", 429);
    return identifier;
}

} // namespace ZRKit
