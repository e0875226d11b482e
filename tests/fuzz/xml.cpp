// SPDX-License-Identifier: MIT
// Any bytes give a tree or nothing, at a cost in proportion to their number; a parse ends with every element
// closed and, where it fails, with an error.
#include "platform/text/NSXMLParser.h"

#include <cstdlib>

namespace {

class Counter : public NSXMLParserDelegate {
public:
    void parserDidStartElement(NSXMLParser &, const QString &name, const QString &, const QString &,
                               const QVariantMap &attributes) override {
        if (name.isEmpty() || ++depth > NSXMLParser::MaximumDepth)
            std::abort();
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            text += it.value().toString().size();
    }
    void parserDidEndElement(NSXMLParser &, const QString &, const QString &, const QString &) override {
        if (--depth < 0)
            std::abort();
    }
    void parserFoundCharacters(NSXMLParser &, const QString &string) override {
        if (string.isEmpty() || depth == 0)
            std::abort();
        text += string.size();
    }

    int depth = 0;
    qsizetype text = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), qsizetype(size));
    Counter counter;
    NSXMLParser parser(data);
    parser.setDelegate(&counter);
    parser.setShouldProcessNamespaces(true);
    parser.setShouldReportNamespacePrefixes(true);
    const bool parsed = parser.parse();
    if (parsed != parser.parserError().isNil() || (parsed && counter.depth != 0) ||
        counter.text > 1'000'000 + 5 * 3 * qsizetype(size))
        std::abort();
    return 0;
}
