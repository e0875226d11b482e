// SPDX-License-Identifier: MIT
#pragma once

#include "tests/tools/zrpdf-serve/HTTPConnection.h"
#include "tests/tools/zrpdf/ZrpdfTest.h"

#include <memory>
#include <optional>

/// Runs zrpdf-serve, on a socket in the test's runtime folder unless told otherwise. After each test it has been told to stop
/// and has done so; no process and no file of its is left.
class ServeTest : public ZrpdfTest {
protected:
    using Answer = HTTPConnection::Answer;

    void TearDown() override;

    Child::Setup serveSetup(const QList<QByteArray> &arguments) const;
    /// Starts it and waits until it listens. One instance, and documents may reach everything, unless told otherwise.
    void start(const QList<QByteArray> &arguments = {});
    void start(const Child::Setup &setup);
    /// Runs it to its end.
    Result runServe(const QList<QByteArray> &arguments);
    /// Tells it to stop; its exit code.
    int stop(int signal = SIGTERM);
    Child &server() { return *m_server; }
    /// What it has logged so far.
    QByteArray log();

    QByteArray socketPath() const { return runtimeFolder() + "/zrpdf-serve.sock"; }
    HTTPConnection connect() const { return HTTPConnection(socketPath()); }
    Answer post(const QByteArray &body, const QByteArray &target = "/v1/pdf",
                const QByteArray &header = "Content-Type: text/html\r\n") const;
    Answer get(const QByteArray &target, const QByteArray &header = {}) const;
    /// The value of a metric with its labels; -1 if there is none.
    double metric(const QByteArray &name) const;
    bool waitForMetric(const QByteArray &name, double value) const;

    /// A process below the server whose command line has the text; 0 if there is none.
    pid_t processWith(const std::string &text) const;
    static QByteArray textOf(const QByteArray &pdf);

private:
    std::unique_ptr<Child> m_server;
};
