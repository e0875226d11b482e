// SPDX-License-Identifier: MIT
// The headers that nearly every source includes; parsing them once is most of the build's time.
#pragma once
#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariant>
#include <functional>
#include <memory>
#include <optional>
#include <vector>
