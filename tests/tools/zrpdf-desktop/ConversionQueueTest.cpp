// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/ConversionQueue.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/support/ProcessTree.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using State = Conversion::State;

namespace {

constexpr int patience = 60'000;

class ConversionQueueTest : public testing::Test {
protected:
    void SetUp() override {
        QCoreApplication::setApplicationName(u"zrpdf-desktop-tests"_s);
        QCoreApplication::setOrganizationDomain(u"velmora.com"_s);
        ASSERT_TRUE(history.open());
        queue = make();
    }
    void TearDown() override { queue.reset(); }

    std::unique_ptr<ConversionQueue> make(const QString &service = ConversionQueue::serviceName(),
                                          std::chrono::milliseconds limit = std::chrono::seconds(60)) {
        return std::make_unique<ConversionQueue>(history, folder.filePath(u"cache"_s), service, limit);
    }
    QList<Conversion *> add(const QList<Source> &sources) {
        queue->add(sources);
        QList<Conversion *> all = history.all();
        all.resize(sources.size());
        std::reverse(all.begin(), all.end());
        return all;
    }
    Conversion *add(const Source &source) { return add(QList<Source>{source}).first(); }
    /// Waits until the conversion is no longer queued or converted.
    static bool ended(const Conversion *conversion) {
        return QTest::qWaitFor([conversion] { return !conversion->isWaiting(); }, patience);
    }
    /// A document that never comes.
    Source endless() {
        EXPECT_TRUE(m_silent.isListening() || m_silent.listen(QHostAddress::LocalHost));
        return Source::withArgument("http://127.0.0.1:" + QByteArray::number(m_silent.serverPort()) + "/");
    }
    bool isAsked() {
        return QTest::qWaitFor([this] { return m_silent.hasPendingConnections(); }, patience);
    }
    static pid_t serviceProcess() {
        for (const ProcessTree::Process &process : ProcessTree::below(::getpid()))
            if (process.command.find("com.velmora.zrpdf") != std::string::npos)
                return process.pid;
        return 0;
    }
    QByteArray pdfOf(const Conversion *conversion) {
        QFile file(queue->pathOf(*conversion));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QStringList files() const { return QDir(folder.filePath(u"cache"_s)).entryList(QDir::Files); }

    QTemporaryDir folder;
    History history{folder.filePath(u"Data.db"_s)};
    std::unique_ptr<ConversionQueue> queue;
    QTcpServer m_silent;
};

TEST_F(ConversionQueueTest, ADocumentBecomesAPDFWithItsTitles) {
    history.setTitle(u"Ein Bärentitel"_s);
    history.setCreator(u"Me"_s);
    QSignalSpy finished(queue.get(), &ConversionQueue::finished);
    Conversion *const conversion = add(Source::withMarkup(u"<h1>Hello</h1>"_s));
    EXPECT_EQ(conversion->state(), State::Converting);
    EXPECT_EQ(queue->current(), conversion);
    EXPECT_EQ(queue->waiting(), 1);
    ASSERT_TRUE(ended(conversion));
    EXPECT_EQ(conversion->state(), State::Done) << conversion->error().toStdString();
    const PDFDocument pdf(pdfOf(conversion));
    EXPECT_EQ(pdf.pageCount(), 1);
    EXPECT_EQ(pdf.pageBox(0).width(), 800);
    EXPECT_EQ(pdf.documentAttributes().value(PDFDocumentTitleAttribute), QVariant(u"Ein Bärentitel"_s));
    EXPECT_EQ(pdf.documentAttributes().value(PDFDocumentCreatorAttribute), QVariant(u"Me"_s));
    EXPECT_EQ(conversion->size(), QFile(queue->pathOf(*conversion)).size());
    EXPECT_EQ(finished.size(), 1);
    EXPECT_EQ(queue->waiting(), 0);
    EXPECT_EQ(queue->current(), nullptr);
}

TEST_F(ConversionQueueTest, FilesAddressesTextsAndPicturesBecomePDFs) {
    QFile file(folder.filePath(u"page.html"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<p>file");
    file.close();
    const QByteArray svg =
        "<svg xmlns='http://www.w3.org/2000/svg' width='40' height='30'><rect width='40' height='30'/></svg>";
    const QList<Conversion *> all = add({Source::withArgument(file.fileName().toUtf8()),
                                         Source::withArgument("data:text/html,<p>address"),
                                         Source::withBytes("plain words"), Source::withBytes(svg)});
    for (const Conversion *conversion : all) {
        ASSERT_TRUE(ended(conversion));
        EXPECT_EQ(conversion->state(), State::Done) << conversion->error().toStdString();
        EXPECT_TRUE(pdfOf(conversion).startsWith("%PDF-"));
    }
    EXPECT_EQ(files().size(), 4);
    const QVariantMap attributes = PDFDocument(pdfOf(all[0])).documentAttributes();
    EXPECT_FALSE(attributes.contains(PDFDocumentTitleAttribute));
}

TEST_F(ConversionQueueTest, AFailureSaysWhyAndCanBeTriedAgain) {
    QFile file(folder.filePath(u"late.html"_s));
    const QList<Conversion *> all =
        add({Source::withArgument("http://127.0.0.1:1/"), Source::withArgument(file.fileName().toUtf8())});
    ASSERT_TRUE(ended(all[0]) && ended(all[1]));
    EXPECT_EQ(all[0]->state(), State::Failed);
    EXPECT_EQ(all[0]->error(), u"HTML to PDF converter did fail"_s);
    EXPECT_TRUE(all[0]->cause().contains(u"net::ERR_")) << all[0]->cause().toStdString();
    EXPECT_EQ(all[1]->state(), State::Failed);
    EXPECT_EQ(all[1]->error(), u"No such file or directory"_s);
    EXPECT_EQ(all[1]->cause(), QString());
    EXPECT_EQ(queue->pathOf(*all[1]), QString());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<p>here I am");
    file.close();
    queue->tryAgain({all[1]});
    EXPECT_EQ(all[1]->error(), QString());
    ASSERT_TRUE(ended(all[1]));
    EXPECT_EQ(all[1]->state(), State::Done);
    // What is done isn't done again.
    queue->tryAgain({all[1]});
    EXPECT_EQ(all[1]->state(), State::Done);
}

TEST_F(ConversionQueueTest, AServiceThatDiesFailsItsDocumentAndTheNextOneIsConverted) {
    const QList<Conversion *> all = add({endless(), Source::withMarkup(u"<p>next"_s)});
    ASSERT_TRUE(isAsked());
    const pid_t service = serviceProcess();
    ASSERT_GT(service, 0);
    ASSERT_EQ(::kill(service, SIGKILL), 0);
    ASSERT_TRUE(ended(all[0]) && ended(all[1]));
    EXPECT_EQ(all[0]->state(), State::Failed);
    EXPECT_EQ(all[0]->error(), u"The conversion service was lost"_s);
    EXPECT_EQ(all[0]->cause(), u"killed by signal 9"_s);
    EXPECT_EQ(all[1]->state(), State::Done) << all[1]->error().toStdString();
}

TEST_F(ConversionQueueTest, AServiceThatDiesIdleCostsNobodyAnything) {
    const Conversion *const first = add(Source::withMarkup(u"<p>first"_s));
    ASSERT_TRUE(ended(first));
    const pid_t service = serviceProcess();
    ASSERT_GT(service, 0);
    ASSERT_EQ(::kill(service, SIGKILL), 0);
    ASSERT_TRUE(ProcessTree::waitUntil([] { return serviceProcess() == 0; }));
    const Conversion *const second = add(Source::withMarkup(u"<p>second"_s));
    ASSERT_TRUE(ended(second));
    EXPECT_EQ(second->state(), State::Done) << second->error().toStdString();
}

TEST_F(ConversionQueueTest, ADocumentThatTakesTooLongFails) {
    queue.reset();
    queue = make(ConversionQueue::serviceName(), std::chrono::milliseconds(1500));
    const QList<Conversion *> all = add({endless(), Source::withArgument("/missing.html")});
    ASSERT_TRUE(ended(all[0]) && ended(all[1]));
    EXPECT_EQ(all[0]->state(), State::Failed);
    EXPECT_EQ(all[0]->error(), u"The conversion took too long"_s);
    EXPECT_EQ(all[0]->cause(), u"more than 1.5 s"_s);
    EXPECT_EQ(all[1]->error(), u"No such file or directory"_s);
}

TEST_F(ConversionQueueTest, WhatRunsOrWaitsCanBeCancelledAndTriedAgain) {
    const QList<Conversion *> all =
        add({endless(), Source::withMarkup(u"<p>a"_s), Source::withMarkup(u"<p>b"_s)});
    ASSERT_TRUE(isAsked());
    EXPECT_EQ(queue->waiting(), 3);
    queue->cancel({all[0], all[1]});
    EXPECT_EQ(all[0]->state(), State::Cancelled);
    EXPECT_EQ(all[1]->state(), State::Cancelled);
    EXPECT_EQ(queue->waiting(), 1);
    ASSERT_TRUE(ended(all[2]));
    EXPECT_EQ(all[2]->state(), State::Done) << all[2]->error().toStdString();
    EXPECT_EQ(all[0]->state(), State::Cancelled);
    queue->tryAgain({all[1]});
    ASSERT_TRUE(ended(all[1]));
    EXPECT_EQ(all[1]->state(), State::Done);
}

TEST_F(ConversionQueueTest, WhatIsRemovedWhileItRunsEndsAndComesBackCancelled) {
    Conversion *const conversion = add(endless());
    ASSERT_TRUE(isAsked());
    queue->remove({conversion});
    EXPECT_TRUE(history.all().isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !queue->current(); }, patience));
    history.undo();
    ASSERT_EQ(history.all().size(), 1);
    EXPECT_EQ(conversion->state(), State::Cancelled);
}

TEST_F(ConversionQueueTest, RedoingARemovalEndsWhatRuns) {
    Conversion *const conversion = add(Source::withArgument("/missing.html"));
    ASSERT_TRUE(ended(conversion));
    queue->remove({conversion});
    history.undo();
    queue->tryAgain({conversion});
    history.redo();
    EXPECT_TRUE(history.all().isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !queue->current(); }, patience));
}

TEST_F(ConversionQueueTest, TheEndCancelsAllThatWaitsAtOnce) {
    const QList<Conversion *> all = add({endless(), Source::withMarkup(u"<p>a"_s)});
    ASSERT_TRUE(isAsked());
    queue.reset();
    EXPECT_EQ(all[0]->state(), State::Cancelled);
    EXPECT_EQ(all[1]->state(), State::Cancelled);
    EXPECT_EQ(files(), QStringList());
    EXPECT_TRUE(ProcessTree::waitUntil([] { return serviceProcess() == 0; }));
}

TEST_F(ConversionQueueTest, AServiceThatIsNotInstalledIsSaid) {
    queue.reset();
    queue = make(u"com.velmora.nothing"_s);
    Conversion *const conversion = add(Source::withMarkup(u"<p>x"_s));
    ASSERT_TRUE(ended(conversion));
    EXPECT_EQ(conversion->error(), u"The conversion service is not installed"_s);
    EXPECT_EQ(conversion->cause(), u"com.velmora.nothing"_s);
    queue->tryAgain({conversion});
    ASSERT_TRUE(ended(conversion));
    EXPECT_EQ(conversion->state(), State::Failed);
}

TEST_F(ConversionQueueTest, AFolderThatTakesNoFilesIsSaid) {
    Conversion *const first = add(Source::withMarkup(u"<p>x"_s));
    ASSERT_TRUE(ended(first));
    ASSERT_TRUE(QDir(folder.filePath(u"cache"_s)).removeRecursively());
    Conversion *const second = add(Source::withMarkup(u"<p>x"_s));
    ASSERT_TRUE(ended(second));
    EXPECT_EQ(second->error(), u"The PDF can't be written"_s);
    EXPECT_EQ(second->cause(), u"No such file or directory"_s);
}

TEST_F(ConversionQueueTest, FilesOfRemovedConversionsAreGoneAtTheNextStart) {
    const QList<Conversion *> all = add({Source::withMarkup(u"<p>a"_s), Source::withMarkup(u"<p>b"_s)});
    ASSERT_TRUE(ended(all[0]) && ended(all[1]));
    const QString kept = queue->pathOf(*all[1]);
    queue->remove({all[0]});
    EXPECT_EQ(files().size(), 2);
    queue.reset();
    queue = make();
    queue->begin();
    EXPECT_TRUE(QTest::qWaitFor([this] { return files().size() == 1; }, patience));
    EXPECT_TRUE(QFile::exists(kept));
}

} // namespace
