// SPDX-License-Identifier: MIT
#include "platform/base/NSException.h"

QString NSException::currentDescription() {
    try {
        throw;
    } catch (const NSException &e) {
        return e.description();
    } catch (const std::exception &e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
        return QStringLiteral("unknown exception");
    }
}
