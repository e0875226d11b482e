// SPDX-License-Identifier: MIT
#include "platform/net/PublicFetcher.h"

#include "platform/base/LibexecFile.h"
#include "platform/values/NSLog.h"

#include <QLibrary>

using namespace zr;

PublicFetcher *PublicFetcher::shared() {
    static PublicFetcher *const fetcher = []() -> PublicFetcher * {
        using Shared = PublicFetcher *(*)();
        QLibrary module(libexecFile(QStringLiteral("zrkit-fetcher.so")));
        // Its thread runs until the process ends.
        module.setLoadHints(QLibrary::PreventUnloadHint);
        const auto entry = reinterpret_cast<Shared>(module.resolve("zrkitSharedFetcher"));
        if (!entry)
            NSLog("Cannot fetch for documents: %@", module.errorString());
        return entry ? entry() : nullptr;
    }();
    return fetcher;
}
