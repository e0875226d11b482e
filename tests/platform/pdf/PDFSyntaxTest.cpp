// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFSyntax.h"

#include <gtest/gtest.h>

namespace {

// The one value that the text holds, with nothing after it; nothing where it is refused.
std::optional<PDFValue> read(std::string_view text) {
    PDFSyntax syntax(text.data(), text.data() + text.size());
    PDFValue value;
    if (!syntax.value(value))
        return std::nullopt;
    syntax.skipSpace();
    return syntax.at() == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

PDFValue::Kind kind(std::string_view text) {
    const auto value = read(text);
    EXPECT_TRUE(value) << text;
    return value ? value->kind : PDFValue::Null;
}

class Recorder : public PDFVisitor {
public:
    void array(const PDFValue &, std::span<const PDFValue> elements) override {
        log += "array" + std::to_string(elements.size()) + ' ';
    }
    void dictionary(const PDFValue &, std::span<const PDFEntry> entries) override {
        log += "dictionary" + std::to_string(entries.size()) + ' ';
    }
    void reference(int object) override { log += "reference" + std::to_string(object) + ' '; }

    std::string log;
};

} // namespace

TEST(PDFSyntax, TellsEveryKindOfValue) {
    EXPECT_EQ(kind("null"), PDFValue::Null);
    EXPECT_EQ(kind("true"), PDFValue::Boolean);
    EXPECT_EQ(kind(" -12.5 "), PDFValue::Number);
    EXPECT_EQ(kind("(a (b) \\) c)"), PDFValue::String);
    EXPECT_EQ(kind("<00 fF>"), PDFValue::String);
    EXPECT_EQ(kind("/Name#20x"), PDFValue::Name);
    EXPECT_EQ(kind("[1 2 [3]]"), PDFValue::Array);
    EXPECT_EQ(kind("<</A/B/C[1]>>"), PDFValue::Dictionary);
    EXPECT_EQ(kind("12 0 R"), PDFValue::Reference);
    EXPECT_EQ(read("12 0 R")->object(), 12);
    EXPECT_EQ(read("12")->object(), 0);
}

TEST(PDFSyntax, TellsReferencesFromNumbers) {
    const auto numbers = PDFSyntax::array(*read("[1 0 2 0 R 3 0]"));
    ASSERT_TRUE(numbers);
    ASSERT_EQ(numbers->size(), 5u);
    EXPECT_EQ((*numbers)[2].object(), 2);
    // Other generations are not plain.
    EXPECT_FALSE(read("[1 1 R]"));
    EXPECT_FALSE(read("[0 0 R]"));
    EXPECT_FALSE(read("[3 0 Rx]"));
}

TEST(PDFSyntax, RefusesWhatIsNotPlain) {
    for (const char *text : {"", "(", "(a", "(a\\", "<0", "<0g>", "[", "[1", "]", ">>", "<<", "<</A",
                             "<</A>>", "<<1 2>>", "word", "{1}", "% comment\n1", "[1 % comment\n]", "1 2"})
        EXPECT_FALSE(read(text)) << text;
}

TEST(PDFSyntax, StopsAtADepth) {
    const std::string fine = std::string(60, '[') + std::string(60, ']');
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_TRUE(read(fine));
    EXPECT_FALSE(read(deep));
}

TEST(PDFSyntax, DictionariesWithUnclearKeysAreRefused) {
    const std::string fine = "<</A 1/B 2>>", twice = "<</A 1/A 2>>", escaped = "<</#41 1>>";
    const auto dictionary = PDFSyntax::dictionary(*read(fine));
    ASSERT_TRUE(dictionary);
    EXPECT_EQ(dictionary->find("/B")->text(), "2");
    EXPECT_EQ(dictionary->find("/C"), nullptr);
    EXPECT_TRUE(dictionary->hasOnly({"/B", "/A", "/C"}));
    EXPECT_FALSE(dictionary->hasOnly({"/A"}));
    EXPECT_FALSE(PDFSyntax::dictionary(*read(twice)));
    EXPECT_FALSE(PDFSyntax::dictionary(*read(escaped)));
    EXPECT_FALSE(PDFSyntax::dictionary(*read("[1]")));
}

TEST(PDFSyntax, ArraysOfNumbersHoldNothingElse) {
    const std::string text = "[1 -2.5 .5]";
    EXPECT_EQ(PDFSyntax::numbers(*read(text)), (std::vector<double>{1, -2.5, .5}));
    for (const std::string other : {"[1 (a)]", "[1 2 0 R]", "[[1]]", "[null]", "1"})
        EXPECT_FALSE(PDFSyntax::numbers(*read(other))) << other;
}

TEST(PDFSyntax, VisitorsSeeInnerValuesFirst) {
    const std::string_view text = "<</A [1 7 0 R <<>>] /B 8 0 R>>";
    Recorder recorder;
    PDFValue value;
    ASSERT_TRUE(PDFSyntax(text.data(), text.data() + text.size(), &recorder).value(value));
    EXPECT_EQ(recorder.log, "reference7 dictionary0 array3 reference8 dictionary2 ");
}
