// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/History.h"
#include "tests/tools/zrpdf-desktop/Presented.h"
#include "tests/tools/zrpdf-desktop/TemporaryFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using State = Conversion::State;

namespace {

class HistoryTest : public testing::Test {
protected:
    void SetUp() override {
        QCoreApplication::setApplicationName(u"zrpdf-desktop-tests"_s);
        QCoreApplication::setOrganizationDomain(u"velmora.com"_s);
        NSErrorPresenter::setSharedPresenter(m_presented);
        open();
    }
    void TearDown() override {
        m_history.reset();
        NSErrorPresenter::setSharedPresenter(nullptr);
    }

    QString path() const { return m_folder.filePath(u"Data.db"_s); }
    /// Ends the program, as far as the history knows, and starts it again.
    void open() {
        m_history.reset();
        m_history = std::make_unique<History>(path());
        m_isOpened = m_history->open();
    }
    History &history() { return *m_history; }
    Conversion *add(const QString &text = u"words"_s) {
        return history().add({Source::withBytes(text.toUtf8())}).value(0);
    }
    QStringList names() {
        QStringList names;
        for (const Conversion *conversion : history().all())
            names << conversion->label();
        return names;
    }

    QTemporaryDir m_folder;
    std::shared_ptr<Presented> m_presented = std::make_shared<Presented>();
    std::unique_ptr<History> m_history;
    bool m_isOpened = false;
};

TEST_F(HistoryTest, WhatWasAddedIsThereAfterARestart) {
    ASSERT_TRUE(m_isOpened);
    EXPECT_TRUE(history().isKept());
    history().setTitle(u"A title"_s);
    history().setCreator(u"A creator"_s);
    history().add({Source::withArgument("https://example.com/"), Source::withMarkup(u"<p>ü"_s)});
    open();
    const QList<Conversion *> all = history().all();
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(all[0]->source().taskData(), QVariant(u"<p>ü"_s));
    EXPECT_EQ(all[0]->kind(), Source::Kind::Markup);
    EXPECT_EQ(all[1]->source().location(), "https://example.com/");
    EXPECT_EQ(all[1]->label(), u"https://example.com/"_s);
    EXPECT_EQ(all[1]->title(), u"A title"_s);
    EXPECT_EQ(all[1]->creator(), u"A creator"_s);
    EXPECT_GT(all[0]->number(), all[1]->number());
    EXPECT_EQ(history().title(), u"A title"_s);
    EXPECT_EQ(history().creator(), u"A creator"_s);
    EXPECT_TRUE(m_presented->errors.isEmpty());
}

TEST_F(HistoryTest, WhatWasUnfinishedIsCancelledAfterARestart) {
    Conversion *const done = add(u"done"_s), *const running = add(u"running"_s);
    add(u"waiting"_s);
    history().update([&] {
        done->setState(State::Done);
        running->setState(State::Converting);
    });
    open();
    EXPECT_EQ(names(), (QStringList{u"waiting"_s, u"running"_s, u"done"_s}));
    EXPECT_EQ(history().all()[0]->state(), State::Cancelled);
    EXPECT_EQ(history().all()[1]->state(), State::Cancelled);
    EXPECT_EQ(history().all()[2]->state(), State::Done);
    EXPECT_EQ(history().firstQueued(), nullptr);
}

TEST_F(HistoryTest, AnotherProgramsWorkIsLeftAlone) {
    add();
    History other(path());
    ASSERT_TRUE(other.open());
    EXPECT_TRUE(history().isAlone());
    EXPECT_FALSE(other.isAlone());
    ASSERT_EQ(other.all().size(), 1);
    EXPECT_EQ(other.all()[0]->state(), State::Queued);
}

TEST_F(HistoryTest, TheOneThatWaitsLongestIsFirst) {
    Conversion *const first = add(), *const second = add();
    EXPECT_EQ(history().firstQueued(), first);
    history().update([&] { first->setState(State::Converting); });
    EXPECT_EQ(history().firstQueued(), second);
}

TEST_F(HistoryTest, ARemovalIsUndoneAndRedoneAndSavedEachTime) {
    Conversion *const a = add(u"a"_s), *const b = add(u"b"_s);
    add(u"c"_s);
    history().update([&] {
        a->setState(State::Done);
        a->setOutput(u"a.pdf"_s, 10);
    });
    EXPECT_FALSE(history().canUndo());
    history().remove({a, b});
    EXPECT_EQ(names(), QStringList{u"c"_s});
    EXPECT_EQ(history().undoName(), u"Remove"_s);
    history().undo();
    EXPECT_EQ(names(), (QStringList{u"c"_s, u"b"_s, u"a"_s}));
    EXPECT_EQ(history().all()[1]->state(), State::Cancelled);
    EXPECT_EQ(history().all()[1]->source().content(), "b");
    EXPECT_EQ(history().all()[2]->state(), State::Done);
    EXPECT_EQ(history().all()[2]->output(), u"a.pdf"_s);
    EXPECT_FALSE(history().canUndo());
    EXPECT_EQ(history().redoName(), u"Remove"_s);
    {
        History other(path());
        other.open();
        EXPECT_EQ(other.all().size(), 3);
    }
    history().redo();
    EXPECT_EQ(names(), QStringList{u"c"_s});
    history().undo();
    open();
    EXPECT_EQ(names(), (QStringList{u"c"_s, u"b"_s, u"a"_s}));
    EXPECT_FALSE(history().canUndo());
}

TEST_F(HistoryTest, EditsAreUndoneOneByOneAndWhatHappensByItselfIsNot) {
    history().setTitle(u"One"_s);
    Conversion *const conversion = add();
    history().setTitle(u"Two"_s);
    history().setTitle(u"Two"_s);
    history().setCreator(u"Me"_s);
    history().update([&] { conversion->setState(State::Failed); });
    EXPECT_EQ(history().undoName(), u"Creator"_s);
    history().undo();
    EXPECT_EQ(history().creator(), u""_s);
    EXPECT_EQ(history().undoName(), u"Title"_s);
    history().undo();
    EXPECT_EQ(history().title(), u"One"_s);
    EXPECT_EQ(conversion->title(), u"One"_s);
    history().undo();
    EXPECT_EQ(history().title(), u""_s);
    EXPECT_FALSE(history().canUndo());
    EXPECT_EQ(history().undoName(), QString());
    EXPECT_EQ(conversion->state(), State::Failed);
    EXPECT_EQ(history().all().size(), 1);
    history().redo();
    EXPECT_EQ(history().title(), u"One"_s);
}

TEST_F(HistoryTest, OnlyTheLatestThousandAreKept) {
    QList<Source> sources;
    for (int i = 0; i < History::mostKept + 5; ++i)
        sources << Source::withArgument("https://example.com/" + QByteArray::number(i));
    history().add(sources);
    EXPECT_EQ(history().all().size(), sources.size());
    open();
    EXPECT_EQ(history().all().size(), History::mostKept);
    EXPECT_EQ(history().all().first()->source().location(), "https://example.com/1004");
    EXPECT_EQ(history().all().last()->source().location(), "https://example.com/5");
}

TEST_F(HistoryTest, ADamagedStoreIsToldAndTheProgramGoesOn) {
    m_history.reset();
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const QByteArray damage = QByteArray("no database at all ").repeated(500);
    file.write(damage);
    file.close();
    open();
    EXPECT_FALSE(m_isOpened);
    EXPECT_FALSE(history().isKept());
    ASSERT_GE(m_presented->errors.size(), 1);
    const qsizetype told = m_presented->errors.size();
    Conversion *const conversion = add();
    ASSERT_TRUE(conversion);
    history().setTitle(u"Title"_s);
    history().undo();
    history().remove({conversion});
    history().undo();
    EXPECT_EQ(history().all().size(), 1);
    EXPECT_EQ(m_presented->errors.size(), told);
    // What is there may still be rescued.
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), damage);
}

TEST_F(HistoryTest, FileNamesAreThoseThatFileSystemsTake) {
    const auto nameFor = [&](const QString &title) {
        history().setTitle(title);
        return add(u"some words"_s)->suggestedFileName();
    };
    EXPECT_EQ(nameFor(u""_s), u"some words.pdf"_s);
    EXPECT_EQ(nameFor(u"A/B: ..."_s), u"A_B: ....pdf"_s);
    EXPECT_EQ(nameFor(u"../x"_s), u"_x.pdf"_s);
    EXPECT_EQ(nameFor(u"-rf"_s), u"rf.pdf"_s);
    EXPECT_EQ(nameFor(u"two\nlines"_s), u"two lines.pdf"_s);
    const QString many = nameFor(QString(300, u'ü'));
    EXPECT_LE(many.toUtf8().size(), 255);
    EXPECT_TRUE(many.endsWith(u".pdf"));
    history().setTitle(u""_s);
    EXPECT_EQ(history().add({Source::withMarkup(u"<p>x"_s)})[0]->suggestedFileName(), u"document.pdf"_s);
}

} // namespace
