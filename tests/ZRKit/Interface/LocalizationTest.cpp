// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSString+ZRLocalize.h"

#include "tests/ZRKit/Interface/Translated.h"

#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;
using ZRKit::localizeWithPrefix;

namespace {

/// Sets a variable of the environment as long as it lives.
class Environment {
public:
    Environment(const char *name, const char *value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_former(qgetenv(name)) {
        qputenv(name, value);
    }
    ~Environment() {
        if (m_wasSet)
            qputenv(m_name, m_former);
        else
            qunsetenv(m_name);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    const char *const m_name;
    const bool m_wasSet;
    const QByteArray m_former;
};

} // namespace

TEST(Localization, ThePrefixIsTheContext) {
    const Translated german;
    ASSERT_TRUE(german.isLoaded());
    EXPECT_EQ(localizeWithPrefix("Preferences", "Prefs"), u"Einstellungen"_s);
    EXPECT_EQ(localizeWithPrefix(u"&Open…"_s, "Prefs"), u"Ö&ffnen …"_s);
    EXPECT_EQ(localizeWithPrefix("Bank", "Prefs"), u"Sitzbank"_s);
    EXPECT_EQ(localizeWithPrefix("Bank", "Geld"), u"Geldinstitut"_s);
}

TEST(Localization, AContextIsMatchedExactly) {
    const Translated german;
    EXPECT_EQ(localizeWithPrefix("Preferences", "Pref"), u"Preferences"_s);
    EXPECT_EQ(localizeWithPrefix("Preferences", "prefs"), u"Preferences"_s);
    EXPECT_EQ(localizeWithPrefix("Preferences", "Prefs.More"), u"Preferences"_s);
    EXPECT_EQ(localizeWithPrefix("Preferences", QString()), u"Preferences"_s);
}

TEST(Localization, NoPrefixIsTheEmptyContext) {
    const Translated german;
    EXPECT_EQ(localizeWithPrefix("Untitled", QString()), u"Unbenannt"_s);
    EXPECT_EQ(localizeWithPrefix("Untitled", ""), u"Unbenannt"_s);
    EXPECT_EQ(localizeWithPrefix("Untitled", "Prefs"), u"Untitled"_s);
}

TEST(Localization, ATextWithoutTranslationIsItself) {
    EXPECT_EQ(localizeWithPrefix("Preferences", "Prefs"), u"Preferences"_s);
    const Translated german;
    EXPECT_EQ(localizeWithPrefix("Nothing like it", "Prefs"), u"Nothing like it"_s);
    // What UTF-8 can't carry comes back as it was.
    const QString lone = u"Preferences"_s + QChar(0xD800);
    EXPECT_EQ(localizeWithPrefix(lone, "Prefs"), lone);
    const QString cut = u"Nothing"_s + QChar(0) + u"like it"_s;
    EXPECT_EQ(localizeWithPrefix(cut, "Prefs"), cut);
}

TEST(Localization, NilStaysNilAndEmptyStaysEmpty) {
    const Translated german;
    EXPECT_TRUE(localizeWithPrefix(QString(), "Prefs").isNull());
    const QString empty = localizeWithPrefix("", "Prefs");
    EXPECT_TRUE(empty.isEmpty() && !empty.isNull());
}

TEST(Localization, AnEmptyEnglishTranslationKeepsTheNextLanguageAway) {
    // The user reads English first and German next; the source is English.
    QTranslator english;
    ASSERT_TRUE(english.load(u":/translations/texts_en.qm"_s));
    EXPECT_TRUE(english.isEmpty());
    QTranslator chosen;
    {
        const Environment first("LANGUAGE", "en:de"), locale("LC_ALL", "en_US.UTF-8");
        ASSERT_TRUE(chosen.load(QLocale::system(), u"texts"_s, u"_"_s, u":/translations"_s));
    }
    EXPECT_EQ(chosen.filePath(), u":/translations/texts_en.qm"_s);
}

TEST(Localization, WorksOnAnyThread) {
    const Translated german;
    QString localized;
    std::thread([&] { localized = localizeWithPrefix("Close", "Prefs"); }).join();
    EXPECT_EQ(localized, u"Schließen"_s);
}
