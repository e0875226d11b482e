// SPDX-License-Identifier: MIT
#include "platform/net/PublicFetcher.h"

#include "platform/base/LibexecFile.h"
#include "platform/values/NSLog.h"

#include <QFile>
#include <QLibrary>
#include <unistd.h>

using namespace zr;

PublicFetcher *PublicFetcher::shared() {
    static PublicFetcher *const fetcher = []() -> PublicFetcher * {
        using Shared = PublicFetcher *(*)();
        QLibrary module(QFile::decodeName(libexecFile("zrkit-fetcher.so", R_OK)));
        // Its thread runs until the process ends.
        module.setLoadHints(QLibrary::PreventUnloadHint);
        const auto entry = reinterpret_cast<Shared>(module.resolve("zrkitSharedFetcher"));
        if (!entry)
            NSLog("Cannot fetch for documents: %@", module.errorString());
        return entry ? entry() : nullptr;
    }();
    return fetcher;
}
