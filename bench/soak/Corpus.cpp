// SPDX-License-Identifier: MIT
#include "bench/soak/Corpus.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QUrl>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using Random = std::mt19937;

int below(Random &random, int limit) {
    return int(random() % unsigned(limit));
}

template <typename List>
const auto &oneOf(Random &random, const List &list) {
    return list[below(random, int(std::size(list)))];
}

QByteArray contentOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Stands at the top left of any page, whatever its styles say. So large that readers don't take it for dust on pages that
/// are scaled down.
QString marker(int number) {
    return u"<div "
           u"style=\"all:initial!important;display:block!important;position:absolute!important;left:0!"
           u"important;"
           "top:0!important;font:24px 'DejaVu Sans'!important;z-index:2147483647!important\">"_s +
           Document::mark(number) + u"</div>"_s;
}

/// Flips, drops, repeats or cuts a few bytes, the first few left out.
QByteArray damagedBytes(Random &random, QByteArray data, int intact) {
    for (int i = 1 + below(random, 8); i > 0 && data.size() > intact; --i) {
        const int at = intact + below(random, int(data.size()) - intact);
        switch (below(random, 5)) {
        case 0:
            data.truncate(at);
            break;
        case 1:
            data.remove(at, 1 + below(random, 16));
            break;
        case 2:
            data.insert(at, data.mid(below(random, int(data.size())), 64));
            break;
        default:
            data[at] = char(random());
        }
    }
    return data;
}

} // namespace

const char *Document::name(Kind kind) {
    constexpr std::array<const char *, kinds> names{
        "own pages",     "broken markup", "damaged pictures and fonts", "many encodings",
        "files",         "served",        "damaged as a whole",         "abandoned",
        "endless loads", "monsters"};
    return names[std::size_t(kind)];
}

QString Document::mark(int number) {
    return u"zq%1qz"_s.arg(number, 9, 10, QChar(u'0'));
}

QList<int> Document::marks(const QString &text) {
    static const QRegularExpression pattern(u"zq([0-9]{9})qz"_s);
    QList<int> found;
    for (auto match = pattern.globalMatch(text); match.hasNext();)
        found << match.next().captured(1).toInt();
    return found;
}

Corpus::Corpus(unsigned seed, const QString &sources, const QString &server)
    : m_seed(seed), m_server(server) {
    const QDir pages(sources + u"/tests/pages"_s);
    for (const QString &name : pages.entryList({u"*.html"_s}, QDir::Files, QDir::Name))
        m_pages << QString::fromUtf8(contentOf(pages.filePath(name)));
    m_pages << QString::fromUtf8(contentOf(sources + u"/examples/invoice.html"_s));
    const QDir documents(sources + u"/tests/documents"_s);
    for (const auto &[name, type, utiType] :
         {std::tuple(u"red.gif"_s, u"image/gif"_s, u"com.compuserve.gif"_s),
          std::tuple(u"turned.jpg"_s, u"image/jpeg"_s, u"public.jpeg"_s),
          std::tuple(u"tall.png"_s, u"image/png"_s, u"public.png"_s),
          std::tuple(u"red.webp"_s, u"image/webp"_s, u"public.webp"_s)})
        m_pictures << Sample{contentOf(documents.filePath(name)), type, utiType};
    m_pictures << Sample{
        "<svg xmlns='http://www.w3.org/2000/svg' width='90' height='40'><defs><linearGradient id='g'>"
        "<stop stop-color='red'/><stop offset='1' stop-color='blue'/></linearGradient></defs>"
        "<rect width='90' height='40' fill='url(#g)'/><text x='5' y='30'>SVG</text></svg>",
        u"image/svg+xml"_s, u"public.svg-image"_s};
    for (const QString &name : {u"dot-fine.ttf"_s, u"dot-plain.woff"_s})
        m_fonts << Sample{contentOf(pages.filePath(u"assets/"_s + name)),
                          name.endsWith(u"ttf") ? u"font/ttf"_s : u"font/woff"_s,
                          {}};
    for (const QString &folder : {u"mhtml"_s, u"webarchive"_s}) {
        const QDir samples(sources + u"/tests/fuzz/corpus/"_s + folder);
        for (const QString &name : samples.entryList(QDir::Files, QDir::Name))
            m_archives << Sample{contentOf(samples.filePath(name)), {}, {}};
    }
    QDir(m_folder.path()).mkpath(u"assets"_s);
    const QDir assets(pages.filePath(u"assets"_s));
    for (const QString &name : assets.entryList(QDir::Files))
        QFile::copy(assets.filePath(name), m_folder.filePath(u"assets/"_s + name));
}

Document Corpus::document(int number, bool isCalm) const {
    std::seed_seq seeds{m_seed, unsigned(number)};
    Random random(seeds);
    Document document;
    document.number = number;
    using Kind = Document::Kind;
    // Of a thousand.
    constexpr std::array<std::pair<Kind, int>, Document::kinds> shares{{{Kind::Endless, 3},
                                                                        {Kind::Monster, 5},
                                                                        {Kind::Abandoned, 40},
                                                                        {Kind::Bytes, 50},
                                                                        {Kind::Served, 60},
                                                                        {Kind::File, 60},
                                                                        {Kind::Encoded, 80},
                                                                        {Kind::Damaged, 150},
                                                                        {Kind::Broken, 300},
                                                                        {Kind::Page, 252}}};
    constexpr int harmful = 3 + 5 + 40;
    int share = isCalm ? harmful + below(random, 1000 - harmful) : below(random, 1000);
    for (const auto &[kind, width] : shares) {
        document.kind = kind;
        if ((share -= width) < 0)
            break;
    }
    QVariantMap &task = document.task;
    switch (document.kind) {
    case Kind::Page:
    case Kind::Abandoned:
        task = {{u"data"_s, page(random, number)}, {u"utiType"_s, u"public.html"_s}};
        break;
    case Kind::Broken:
        task = {{u"data"_s, broken(random, number)}, {u"utiType"_s, u"public.html"_s}};
        break;
    case Kind::Damaged:
        task = {{u"data"_s, damaged(random, number)}, {u"utiType"_s, u"public.html"_s}};
        break;
    case Kind::Encoded:
        task = encoded(random, number);
        break;
    case Kind::File: {
        document.file = m_folder.filePath(u"%1.html"_s.arg(number));
        QFile file(document.file);
        if (file.open(QIODevice::WriteOnly))
            file.write(page(random, number).toUtf8());
        task = {{u"data"_s, QUrl::fromLocalFile(document.file)}};
        break;
    }
    case Kind::Served:
        task = {{u"data"_s, QUrl(m_server + QString::number(number))}};
        break;
    case Kind::Bytes:
        task = bytes(random);
        document.hasText = false;
        document.expected = Document::Expected::DoneOrFailed;
        break;
    case Kind::Endless:
        task = {{u"data"_s, endless(random, number)}, {u"utiType"_s, u"public.html"_s}};
        document.timeout = std::chrono::milliseconds(1500);
        document.expected = Document::Expected::Late;
        break;
    case Kind::Monster:
        task = {{u"data"_s, monster(random, number)}, {u"utiType"_s, u"public.html"_s}};
        document.timeout = std::chrono::seconds(5);
        document.expected = Document::Expected::Anything;
        break;
    }
    if (document.kind == Kind::Abandoned)
        document.expected = Document::Expected::DoneOrAbandoned;
    task.insert(u"pdfTitle"_s, Document::mark(number));
    if (below(random, 20) == 0)
        task.insert(u"tagged"_s, true);
    return document;
}

QString Corpus::page(Random &random, int number) const {
    QString text = oneOf(random, m_pages);
    const qsizetype body = text.indexOf(QRegularExpression(u"<body[^>]*>"_s));
    const qsizetype at = body < 0 ? text.size() : text.indexOf(u'>', body) + 1;
    return text.insert(at, marker(number));
}

QString Corpus::broken(Random &random, int number) const {
    static const QStringList tags =
        u"a abbr article b blockquote button caption center code col colgroup dd details "
        "div dl dt em fieldset figure font footer form g h1 h3 hr i iframe img input "
        "label legend li marquee math menu meter mi mo nav nobr object ol optgroup option "
        "p path pre progress q rp rt ruby s section select small span strike style sub "
        "summary svg table tbody td template text th thead tr tt u ul use video wbr xmp"_s.split(u' ');
    static const QStringList odd{u"<"_s,
                                 u"</"_s,
                                 u"<!"_s,
                                 u"<!--"_s,
                                 u"<!-- - -- --!>"_s,
                                 u"<![CDATA[x]]>"_s,
                                 u"<?xml?>"_s,
                                 u"&#x110000;"_s,
                                 u"&#0;"_s,
                                 u"&amp"_s,
                                 u"&notit;"_s,
                                 QString(QChar(0)),
                                 QString(QChar(0xd800)),
                                 u"<p a=\"\"b='c"_s,
                                 u"<td =x=>"_s,
                                 u"</body></html>"_s,
                                 u"<body class=again>"_s,
                                 u"<frameset><frame>"_s,
                                 u"<svg><foreignObject><p>"_s,
                                 u"<math><annotation-xml encoding=text/html><table>"_s,
                                 u"<select><table><tr>"_s,
                                 u"<style>td{float:left;width:30%}li{columns:2}</style>"_s,
                                 u"<style>@media print{*{display:none}}</style>"_s,
                                 u"<style>p{transform:rotate(3deg)}@page{size:9cm}</style>"_s,
                                 u"<style>b{break-before:page;height:100vh}"_s,
                                 u"<iframe srcdoc='<p>inside'></iframe>"_s,
                                 u"<img src=data:image/png;base64,AAAA>"_s,
                                 u"<script>document.write('<plaintext>')</script>"_s,
                                 u"<script>"_s,
                                 u"<textarea>"_s,
                                 u"<title>"_s,
                                 u"<plaintext>"_s};
    static const QStringList words{u"eins"_s, u"two"_s, u"trois "_s, u"четыре"_s,
                                   u"五"_s,   u"ستة"_s, u"🙂"_s,   u"\n"_s};
    static const QStringList styles{u"float:right"_s,
                                    u"position:fixed;bottom:0"_s,
                                    u"position:sticky;top:9px"_s,
                                    u"display:grid;grid:1fr/2fr 1fr"_s,
                                    u"display:inline-flex"_s,
                                    u"width:200%"_s,
                                    u"height:50vh;overflow:scroll"_s,
                                    u"columns:3"_s,
                                    u"writing-mode:vertical-rl"_s,
                                    u"filter:blur(1px)"_s,
                                    u"margin:-9px"_s,
                                    u"font:italic 70px serif"_s,
                                    u"background:linear-gradient(red,blue)"_s,
                                    u"content:counter(x"_s};
    QString text = (below(random, 2) ? u"<!doctype html>"_s : QString()) + marker(number);
    for (int i = 20 + below(random, 300); i > 0; --i) {
        switch (below(random, 8)) {
        case 0:
            text += oneOf(random, odd);
            break;
        case 1:
        case 2:
            text += u"</"_s + oneOf(random, tags) + u'>';
            break;
        case 3:
        case 4:
            text += oneOf(random, words);
            break;
        default:
            text += u'<' + oneOf(random, tags);
            if (below(random, 3) == 0)
                text += u" style=\""_s + oneOf(random, styles) + (below(random, 9) ? u"\""_s : QString());
            if (below(random, 6) == 0)
                text += u" colspan="_s + QString::number(below(random, 40) - 9);
            text += u'>';
        }
    }
    return text;
}

QString Corpus::damaged(Random &random, int number) const {
    // A picture's size is there: a wrong one makes it a monster.
    constexpr int header = 32;
    const auto dataURL = [&](const Sample &sample) {
        return u"data:"_s + sample.type + u";base64,"_s +
               QString::fromLatin1(damagedBytes(random, sample.data, header).toBase64());
    };
    QString text = u"<!doctype html>"_s + marker(number) + u"<style>@font-face{font-family:f;src:url("_s +
                   dataURL(oneOf(random, m_fonts)) + u")}p{font-family:f;background:url("_s +
                   dataURL(oneOf(random, m_pictures)) + u")}</style><p>Text in a font."_s;
    for (int i = 1 + below(random, 6); i > 0; --i)
        text += u"<img src=\""_s + dataURL(oneOf(random, m_pictures)) + u"\">"_s;
    return text;
}

QVariantMap Corpus::encoded(Random &random, int number) const {
    const QString mark = Document::mark(number);
    switch (below(random, 5)) {
    case 0:
        return {{u"data"_s, (mark + u"\nPlain text, <b>not</b> markup: ä €\n"_s).toUtf8()},
                {u"utiType"_s, u"public.plain-text"_s}};
    case 1:
        return {{u"data"_s, (u"<svg xmlns='http://www.w3.org/2000/svg' width='400' height='60'><text y='30' "
                             "font-family='DejaVu Sans'>"_s +
                             mark + u"</text></svg>"_s)
                                .toUtf8()},
                {u"utiType"_s, u"public.svg-image"_s}};
    case 2:
        return {{u"data"_s, (u"<?xml version='1.0'?><html xmlns='http://www.w3.org/1999/xhtml'><body><p>"_s +
                             mark + u"</p></body></html>"_s)
                                .toUtf8()},
                {u"utiType"_s, u"public.xhtml"_s}};
    case 3: {
        QStringEncoder encoder(QStringEncoder::Utf16LE, QStringEncoder::Flag::WriteBom);
        const QByteArray data = encoder.encode(u"<p>Grüße "_s + mark);
        return {{u"data"_s, data}, {u"utiType"_s, u"public.html"_s}};
    }
    default:
        return {
            {u"data"_s, QByteArray("<meta charset=\"windows-1252\"><p>Gr\xfc\xdf") + "e " + mark.toLatin1()},
            {u"utiType"_s, u"public.html"_s}};
    }
}

QVariantMap Corpus::bytes(Random &random) const {
    const Sample &sample = below(random, 2) ? oneOf(random, m_pictures) : oneOf(random, m_archives);
    QVariantMap task{{u"data"_s, damagedBytes(random, sample.data, 0)}};
    if (!sample.utiType.isNull())
        task.insert(u"utiType"_s, sample.utiType);
    return task;
}

QVariant Corpus::endless(Random &random, int number) const {
    const QString silent = m_server + u"silent"_s;
    switch (below(random, 4)) {
    case 0:
        return QUrl(silent);
    case 1:
        return u"<style>@import '"_s + silent + u"';</style>"_s + marker(number);
    case 2:
        return marker(number) + u"<iframe src="_s + silent + u"></iframe>"_s;
    default:
        return marker(number) + u"<img src="_s + silent + u'>';
    }
}

QString Corpus::monster(Random &random, int number) const {
    const QString start = u"<!doctype html>"_s + marker(number);
    switch (below(random, 8)) {
    case 0:
        return start + u"<div>"_s.repeated(200'000);
    case 1:
        // Before the cells, as poppler drops more than 50,000 letters that are smaller than 3 pixels. So high a page is
        // drawn small, and the usual mark comes last.
        return u"<!doctype html><p>"_s + Document::mark(number) + u"<table>"_s +
               u"<tr><td>1<td>2<td>3<td>4<td>5"_s.repeated(20'000);
    case 2:
        return start + u"<div style=\"height:40000000px\">too high"_s;
    case 3:
        return start + u"<div style=\"display:grid;grid-template:repeat(9999,1px)/repeat(9999,1px)\">"_s +
               u"<i></i>"_s.repeated(5'000);
    case 4: {
        // Each refers ten times to the one before it.
        QString text = start + u"<svg width=100 height=100><defs><g id=g0><rect width=9 height=9 /></g>"_s;
        for (int level = 1; level < 9; ++level)
            text +=
                u"<g id=g%1>"_s.arg(level) + u"<use href=#g%1 />"_s.arg(level - 1).repeated(10) + u"</g>"_s;
        return text + u"</defs><use href=#g8 />"_s;
    }
    case 5:
        return start +
               u"<div style=\"width:30000px;height:30000px;filter:blur(200px);background:red;box-shadow:0 0 999px\">"_s;
    case 6:
        return u"<?xml version='1.0'?><html xmlns='http://www.w3.org/1999/xhtml'>"_s + marker(number) +
               u"<b>"_s.repeated(100'000);
    default:
        return start + u"<p style=\"columns:1000;font-size:1px\">"_s + u"word "_s.repeated(200'000);
    }
}
