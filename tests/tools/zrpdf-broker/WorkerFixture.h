// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Queue/ZRXPCQueue.h"
#include "tests/support/RabbitMQ.h"
#include "tests/support/ServerProcess.h"

#include <QTemporaryDir>
#include <future>
#include <gtest/gtest.h>
#include <memory>

/// One broker for all cases, which have queues and workers of their own.
class WorkerFixture : public testing::Test {
protected:
    static RabbitMQ &broker();
    static inline const QString workerProgram = QStringLiteral(ZR_BINARY_DIR "/libexec/zrkit/zrpdf-worker");

    struct Answer {
        QVariant result;
        NSError error;
        QByteArray pdf() const { return result.toMap().value(QStringLiteral("data")).toByteArray(); }
    };

    /// A worker of one instance for usual tasks and none for urgent ones, unless told otherwise.
    std::unique_ptr<ServerProcess> worker(const QStringList &options = {},
                                          const QString &program = workerProgram) const;
    ZRXPCQueue::Options options() const;
    static std::future<Answer> send(ZRXPCQueue &queue, const QVariant &data);
    static QVariant html(const QString &body) {
        return QStringLiteral("<!DOCTYPE html><title>x</title>") + body;
    }
    QString prefix() const;

    QTemporaryDir m_folder;
};
