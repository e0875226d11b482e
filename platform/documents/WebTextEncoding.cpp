// SPDX-License-Identifier: MIT
#include "platform/documents/WebTextEncoding.h"

#include <QHash>
#include <QList>

namespace {

struct Names {
    WebTextEncoding encoding;
    const char *name;
    const char *labels;
};

// The table of names and labels of the WHATWG Encoding Standard.
constexpr Names names[] = {
    {WebTextEncoding::UTF8, "UTF-8",
     "unicode-1-1-utf-8 unicode11utf8 unicode20utf8 utf-8 utf8 x-unicode20utf8"},
    {WebTextEncoding::IBM866, "IBM866", "866 cp866 csibm866 ibm866"},
    {WebTextEncoding::ISO8859_2, "ISO-8859-2",
     "csisolatin2 iso-8859-2 iso-ir-101 iso8859-2 iso88592 iso_8859-2 iso_8859-2:1987 l2 latin2"},
    {WebTextEncoding::ISO8859_3, "ISO-8859-3",
     "csisolatin3 iso-8859-3 iso-ir-109 iso8859-3 iso88593 iso_8859-3 iso_8859-3:1988 l3 latin3"},
    {WebTextEncoding::ISO8859_4, "ISO-8859-4",
     "csisolatin4 iso-8859-4 iso-ir-110 iso8859-4 iso88594 iso_8859-4 iso_8859-4:1988 l4 latin4"},
    {WebTextEncoding::ISO8859_5, "ISO-8859-5",
     "csisolatincyrillic cyrillic iso-8859-5 iso-ir-144 iso8859-5 iso88595 iso_8859-5 iso_8859-5:1988"},
    {WebTextEncoding::ISO8859_6, "ISO-8859-6",
     "arabic asmo-708 csiso88596e csiso88596i csisolatinarabic ecma-114 iso-8859-6 iso-8859-6-e iso-8859-6-i "
     "iso-ir-127 iso8859-6 iso88596 iso_8859-6 iso_8859-6:1987"},
    {WebTextEncoding::ISO8859_7, "ISO-8859-7",
     "csisolatingreek ecma-118 elot_928 greek greek8 iso-8859-7 iso-ir-126 iso8859-7 iso88597 iso_8859-7 "
     "iso_8859-7:1987 sun_eu_greek"},
    {WebTextEncoding::ISO8859_8, "ISO-8859-8",
     "csiso88598e csisolatinhebrew hebrew iso-8859-8 iso-8859-8-e iso-ir-138 iso8859-8 iso88598 iso_8859-8 "
     "iso_8859-8:1988 visual"},
    {WebTextEncoding::ISO8859_8_I, "ISO-8859-8-I", "csiso88598i iso-8859-8-i logical"},
    {WebTextEncoding::ISO8859_10, "ISO-8859-10",
     "csisolatin6 iso-8859-10 iso-ir-157 iso8859-10 iso885910 l6 latin6"},
    {WebTextEncoding::ISO8859_13, "ISO-8859-13", "iso-8859-13 iso8859-13 iso885913"},
    {WebTextEncoding::ISO8859_14, "ISO-8859-14", "iso-8859-14 iso8859-14 iso885914"},
    {WebTextEncoding::ISO8859_15, "ISO-8859-15",
     "csisolatin9 iso-8859-15 iso8859-15 iso885915 iso_8859-15 l9"},
    {WebTextEncoding::ISO8859_16, "ISO-8859-16", "iso-8859-16"},
    {WebTextEncoding::KOI8_R, "KOI8-R", "cskoi8r koi koi8 koi8-r koi8_r"},
    {WebTextEncoding::KOI8_U, "KOI8-U", "koi8-ru koi8-u"},
    {WebTextEncoding::Macintosh, "macintosh", "csmacintosh mac macintosh x-mac-roman"},
    {WebTextEncoding::Windows874, "windows-874",
     "dos-874 iso-8859-11 iso8859-11 iso885911 tis-620 windows-874"},
    {WebTextEncoding::Windows1250, "windows-1250", "cp1250 windows-1250 x-cp1250"},
    {WebTextEncoding::Windows1251, "windows-1251", "cp1251 windows-1251 x-cp1251"},
    {WebTextEncoding::Windows1252, "windows-1252",
     "ansi_x3.4-1968 ascii cp1252 cp819 csisolatin1 ibm819 iso-8859-1 iso-ir-100 iso8859-1 iso88591 "
     "iso_8859-1 iso_8859-1:1987 l1 latin1 us-ascii windows-1252 x-cp1252"},
    {WebTextEncoding::Windows1253, "windows-1253", "cp1253 windows-1253 x-cp1253"},
    {WebTextEncoding::Windows1254, "windows-1254",
     "cp1254 csisolatin5 iso-8859-9 iso-ir-148 iso8859-9 iso88599 iso_8859-9 iso_8859-9:1989 l5 latin5 "
     "windows-1254 x-cp1254"},
    {WebTextEncoding::Windows1255, "windows-1255", "cp1255 windows-1255 x-cp1255"},
    {WebTextEncoding::Windows1256, "windows-1256", "cp1256 windows-1256 x-cp1256"},
    {WebTextEncoding::Windows1257, "windows-1257", "cp1257 windows-1257 x-cp1257"},
    {WebTextEncoding::Windows1258, "windows-1258", "cp1258 windows-1258 x-cp1258"},
    {WebTextEncoding::MacCyrillic, "x-mac-cyrillic", "x-mac-cyrillic x-mac-ukrainian"},
    {WebTextEncoding::GBK, "GBK",
     "chinese csgb2312 csiso58gb231280 gb2312 gb_2312 gb_2312-80 gbk iso-ir-58 x-gbk"},
    {WebTextEncoding::GB18030, "gb18030", "gb18030"},
    {WebTextEncoding::Big5, "Big5", "big5 big5-hkscs cn-big5 csbig5 x-x-big5"},
    {WebTextEncoding::EUC_JP, "EUC-JP", "cseucpkdfmtjapanese euc-jp x-euc-jp"},
    {WebTextEncoding::ISO2022_JP, "ISO-2022-JP", "csiso2022jp iso-2022-jp"},
    {WebTextEncoding::ShiftJIS, "Shift_JIS",
     "csshiftjis ms932 ms_kanji shift-jis shift_jis sjis windows-31j x-sjis"},
    {WebTextEncoding::EUC_KR, "EUC-KR",
     "cseuckr csksc56011987 euc-kr iso-ir-149 korean ks_c_5601-1987 ks_c_5601-1989 ksc5601 ksc_5601 "
     "windows-949"},
    {WebTextEncoding::Replacement, "replacement",
     "csiso2022kr hz-gb-2312 iso-2022-cn iso-2022-cn-ext iso-2022-kr replacement"},
    {WebTextEncoding::UTF16BE, "UTF-16BE", "unicodefffe utf-16be"},
    {WebTextEncoding::UTF16LE, "UTF-16LE",
     "csunicode iso-10646-ucs-2 ucs-2 unicode unicodefeff utf-16 utf-16le"},
    {WebTextEncoding::UserDefined, "x-user-defined", "x-user-defined"},
    {WebTextEncoding::UTF32BE, "UTF-32BE", ""},
    {WebTextEncoding::UTF32LE, "UTF-32LE", ""},
};

const QHash<QByteArray, WebTextEncoding> &labelTable() {
    static const QHash<QByteArray, WebTextEncoding> table = [] {
        QHash<QByteArray, WebTextEncoding> made;
        for (const Names &entry : names) {
            for (const QByteArray &label : QByteArray(entry.labels).split(' ')) {
                if (!label.isEmpty())
                    made.insert(label, entry.encoding);
            }
        }
        return made;
    }();
    return table;
}

} // namespace

WebTextEncoding WebTextEncodingForLabel(QByteArrayView label) {
    constexpr qsizetype longest = 40;
    const QByteArrayView trimmed = label.trimmed();
    if (trimmed.isEmpty() || trimmed.size() > longest)
        return WebTextEncoding::None;
    return labelTable().value(trimmed.toByteArray().toLower(), WebTextEncoding::None);
}

QByteArray WebTextEncodingName(WebTextEncoding encoding) {
    for (const Names &entry : names) {
        if (entry.encoding == encoding)
            return entry.name;
    }
    return {};
}

QByteArrayList WebTextEncodingLabels() {
    return labelTable().keys();
}

WebTextEncoding WebTextEncodingOfByteOrderMark(QByteArrayView bytes, int *length) {
    struct Mark {
        QByteArrayView bytes;
        WebTextEncoding encoding;
    };
    // The longer marks come first: the UTF-16LE one begins the UTF-32LE one.
    static const Mark marks[] = {{QByteArrayView("\xFF\xFE\0\0", 4), WebTextEncoding::UTF32LE},
                                 {QByteArrayView("\0\0\xFE\xFF", 4), WebTextEncoding::UTF32BE},
                                 {QByteArrayView("\xEF\xBB\xBF", 3), WebTextEncoding::UTF8},
                                 {QByteArrayView("\xFE\xFF", 2), WebTextEncoding::UTF16BE},
                                 {QByteArrayView("\xFF\xFE", 2), WebTextEncoding::UTF16LE}};
    for (const Mark &mark : marks) {
        if (bytes.startsWith(mark.bytes)) {
            if (length)
                *length = int(mark.bytes.size());
            return mark.encoding;
        }
    }
    if (length)
        *length = 0;
    return WebTextEncoding::None;
}
