// SPDX-License-Identifier: MIT
#include "platform/files/UniformTypes.h"

#include "platform/files/NSPathUtilities.h"

#include <QHash>
#include <QMimeDatabase>
#include <sys/stat.h>

using namespace zr;

namespace {

constexpr UniformType types[] = {
    // What others build on
    {"public.item", "", "", ""},
    {"public.content", "", "", ""},
    {"public.composite-content", "public.content", "", ""},
    {"public.data", "public.item", "application/octet-stream", ""},
    {"public.directory", "public.item", "inode/directory", ""},
    {"public.folder", "public.directory", "", ""},
    {"public.volume", "public.folder", "inode/mount-point", ""},
    {"public.resolvable", "", "", ""},
    {"public.symlink", "public.item public.resolvable", "inode/symlink", ""},
    {"public.executable", "public.item", "", ""},
    {"public.unix-executable", "public.data public.executable", "application/x-executable", ""},
    {"public.object-code", "public.data public.executable", "application/x-object", "o"},
    {"public.archive", "public.data", "", ""},
    {"public.disk-image", "public.archive", "", ""},
    {"public.url", "public.data", "", ""},
    {"public.file-url", "public.url", "", ""},
    {"public.url-name", "public.plain-text", "", ""},
    {"public.contact", "", "", ""},
    {"public.message", "", "", ""},
    {"public.calendar-event", "", "", ""},
    {"public.to-do-item", "", "", ""},
    {"public.database", "", "", ""},
    {"public.presentation", "public.composite-content", "", ""},
    {"public.spreadsheet", "public.content", "", ""},
    {"public.font", "public.data", "", ""},
    {"public.log", "public.plain-text", "text/x-log", "log"},
    {"public.security.certificate", "public.data", "", ""},

    // Text
    {"public.text", "public.data public.content", "", ""},
    {"public.plain-text", "public.text", "text/plain", "txt text"},
    {"public.utf8-plain-text", "public.plain-text", "", ""},
    {"public.utf16-plain-text", "public.plain-text", "", ""},
    {"public.utf16-external-plain-text", "public.plain-text", "", ""},
    {"public.delimited-values-text", "public.plain-text", "", ""},
    {"public.comma-separated-values-text", "public.delimited-values-text", "text/csv", "csv"},
    {"public.tab-separated-values-text", "public.delimited-values-text", "text/tab-separated-values", "tsv"},
    {"public.utf8-tab-separated-values-text", "public.tab-separated-values-text public.utf8-plain-text", "",
     ""},
    {"public.rtf", "public.text", "text/rtf application/rtf", "rtf"},
    {"com.apple.rtfd", "public.directory public.composite-content", "", "rtfd"},
    {"public.html", "public.text", "text/html", "html htm shtml"},
    {"public.xml", "public.text", "application/xml text/xml", "xml"},
    {"public.xhtml", "public.xml", "application/xhtml+xml", "xhtml xht"},
    {"public.rss", "public.xml", "application/rss+xml", "rss"},
    {"public.atom", "public.xml", "application/atom+xml", "atom"},
    {"public.xslt", "public.xml", "application/xslt+xml", "xsl xslt"},
    {"public.json", "public.text", "application/json", "json"},
    {"public.geojson", "public.json", "application/geo+json", "geojson"},
    {"public.yaml", "public.text", "application/yaml application/x-yaml text/x-yaml", "yaml yml"},
    {"public.toml", "public.text", "application/toml", "toml"},
    {"public.css", "public.text", "text/css", "css"},
    {"net.daringfireball.markdown", "public.plain-text", "text/markdown", "md markdown"},
    {"public.tex", "public.plain-text", "text/x-tex", "tex latex"},
    {"public.patch-file", "public.plain-text", "text/x-patch", "patch diff"},
    {"com.apple.ini-text", "public.plain-text", "", "ini"},
    {"public.vcard", "public.text public.contact", "text/vcard text/x-vcard", "vcf vcard"},
    {"com.apple.ical.ics", "public.text public.calendar-event public.to-do-item", "text/calendar", "ics"},
    {"com.apple.ical.vcs", "public.text public.calendar-event public.to-do-item", "text/x-vcalendar", "vcs"},
    {"public.subrip", "public.plain-text", "application/x-subrip", "srt"},
    {"org.w3.webvtt", "public.plain-text", "text/vtt", "vtt"},

    // Source code and scripts
    {"public.source-code", "public.plain-text", "", ""},
    {"public.c-source", "public.source-code", "text/x-csrc", "c"},
    {"public.c-header", "public.source-code", "text/x-chdr", "h"},
    {"public.c-plus-plus-source", "public.source-code", "text/x-c++src", "cpp cc cxx"},
    {"public.c-plus-plus-header", "public.source-code", "text/x-c++hdr", "hpp hh hxx"},
    {"public.objective-c-source", "public.source-code", "text/x-objcsrc", "m"},
    {"public.objective-c-plus-plus-source", "public.source-code", "text/x-objc++src", "mm"},
    {"public.swift-source", "public.source-code", "text/x-swift", "swift"},
    {"org.rust-lang.rust-script", "public.source-code", "text/rust", "rs"},
    {"org.golang.go-script", "public.source-code", "text/x-go", "go"},
    {"public.fortran-source", "public.source-code", "text/x-fortran", "f f90 f95"},
    {"public.pascal-source", "public.source-code", "text/x-pascal", "pas"},
    {"public.ada-source", "public.source-code", "text/x-adasrc", "adb ads"},
    {"public.assembly-source", "public.source-code", "", "s asm"},
    {"public.lex-source", "public.source-code", "", "l"},
    {"public.yacc-source", "public.source-code", "", "y"},
    {"public.make-source", "public.source-code", "text/x-makefile", "mk"},
    {"com.sun.java-source", "public.source-code", "text/x-java", "java"},
    {"org.kotlinlang.source", "public.source-code", "text/x-kotlin", "kt"},
    {"com.microsoft.c-sharp", "public.source-code", "text/x-csharp", "cs"},
    {"com.sun.java-class", "public.data public.executable", "application/x-java", "class"},
    {"public.opencl-source", "public.source-code", "text/x-opencl-src", "cl"},
    {"public.script", "public.source-code", "", ""},
    {"public.shell-script", "public.script", "application/x-shellscript", "sh command"},
    {"public.bash-script", "public.shell-script", "", "bash"},
    {"public.csh-script", "public.shell-script", "application/x-csh", "csh"},
    {"public.ksh-script", "public.shell-script", "", "ksh"},
    {"public.tcsh-script", "public.shell-script", "", "tcsh"},
    {"public.zsh-script", "public.shell-script", "", "zsh"},
    {"public.perl-script", "public.shell-script", "application/x-perl", "pl pm"},
    {"public.python-script", "public.shell-script", "text/x-python text/x-python3", "py"},
    {"public.ruby-script", "public.shell-script", "application/x-ruby", "rb"},
    {"public.php-script", "public.shell-script", "application/x-php", "php"},
    {"com.netscape.javascript-source", "public.source-code public.executable",
     "text/javascript application/javascript", "js mjs"},
    {"org.lua.lua-source", "public.script", "text/x-lua", "lua"},
    {"com.microsoft.powershell-script", "public.script", "application/x-powershell", "ps1"},
    {"com.microsoft.typescript", "public.source-code", "", "tsx"},
    {"org.iso.sql", "public.source-code", "application/sql", "sql"},

    // Images
    {"public.image", "public.data public.content", "", ""},
    {"public.camera-raw-image", "public.image", "image/x-dcraw", ""},
    {"public.png", "public.image", "image/png", "png"},
    {"public.jpeg", "public.image", "image/jpeg", "jpg jpeg jpe"},
    {"public.jpeg-2000", "public.image", "image/jp2", "jp2"},
    {"public.jpeg-xl", "public.image", "image/jxl", "jxl"},
    {"public.tiff", "public.image", "image/tiff", "tif tiff"},
    {"public.heif", "public.image", "image/heif", "heif"},
    {"public.heic", "public.heif", "image/heic", "heic"},
    {"public.avif", "public.heif", "image/avif", "avif"},
    {"public.svg-image", "public.image public.xml", "image/svg+xml", "svg"},
    {"public.xbitmap-image", "public.image", "image/x-xbitmap", "xbm"},
    {"public.pbm", "public.image", "image/x-portable-bitmap", "pbm"},
    {"public.pgm", "public.image", "image/x-portable-graymap", "pgm"},
    {"public.ppm", "public.image", "image/x-portable-pixmap", "ppm"},
    {"com.compuserve.gif", "public.image", "image/gif", "gif"},
    {"com.microsoft.bmp", "public.image", "image/bmp", "bmp"},
    {"com.microsoft.ico", "public.image", "image/vnd.microsoft.icon image/x-icon", "ico"},
    {"com.microsoft.cur", "public.image", "image/x-win-bitmap", "cur"},
    {"com.microsoft.emf", "public.image", "image/emf", "emf"},
    {"com.microsoft.wmf", "public.image", "image/wmf", "wmf"},
    {"com.apple.icns", "public.image", "image/x-icns", "icns"},
    {"com.apple.pict", "public.image", "image/x-pict", "pict pct"},
    {"com.truevision.tga-image", "public.image", "image/x-tga", "tga"},
    {"com.adobe.photoshop-image", "public.image", "image/vnd.adobe.photoshop", "psd"},
    {"com.adobe.illustrator.ai-image", "com.adobe.pdf public.image", "application/illustrator", "ai"},
    {"com.adobe.raw-image", "public.camera-raw-image", "image/x-adobe-dng", "dng"},
    {"com.canon.cr2-raw-image", "public.camera-raw-image", "image/x-canon-cr2", "cr2"},
    {"com.nikon.raw-image", "public.camera-raw-image", "image/x-nikon-nef", "nef"},
    {"com.sony.arw-raw-image", "public.camera-raw-image", "image/x-sony-arw", "arw"},
    {"com.ilm.openexr-image", "public.image", "image/x-exr", "exr"},
    {"org.webmproject.webp", "public.image", "image/webp", "webp"},
    {"org.gimp.xcf", "public.image", "image/x-xcf", "xcf"},

    // Sound and film
    {"public.audiovisual-content", "public.data public.content", "", ""},
    {"public.audio", "public.audiovisual-content", "", ""},
    {"public.movie", "public.audiovisual-content", "", ""},
    {"public.video", "public.movie", "", ""},
    {"public.playlist", "public.data", "", ""},
    {"public.mp3", "public.audio", "audio/mpeg", "mp3"},
    {"public.mp2", "public.audio", "audio/mp2", "mp2"},
    {"public.mpeg", "public.movie", "video/mpeg", "mpg mpeg mpe"},
    {"public.mpeg-2-video", "public.video", "", "m2v"},
    {"public.mpeg-2-transport-stream", "public.movie", "video/mp2t", "ts mts m2ts"},
    {"public.mpeg-4", "public.movie", "video/mp4", "mp4"},
    {"public.mpeg-4-audio", "public.mpeg-4 public.audio", "audio/mp4", "m4a"},
    {"com.apple.m4v-video", "public.movie", "video/x-m4v", "m4v"},
    {"com.apple.quicktime-movie", "public.movie", "video/quicktime", "mov qt"},
    {"public.avi", "public.movie", "video/x-msvideo", "avi"},
    {"public.3gpp", "public.movie", "video/3gpp", "3gp"},
    {"public.3gpp2", "public.movie", "video/3gpp2", "3g2"},
    {"public.aifc-audio", "public.aiff-audio", "audio/x-aifc", "aifc"},
    {"public.aiff-audio", "public.audio", "audio/x-aiff", "aiff aif"},
    {"public.aac-audio", "public.audio", "audio/aac", "aac"},
    {"public.ulaw-audio", "public.audio", "audio/basic", "au snd"},
    {"public.midi-audio", "public.audio", "audio/midi", "mid midi"},
    {"public.m3u-playlist", "public.text public.playlist", "audio/x-mpegurl", "m3u"},
    {"com.microsoft.waveform-audio", "public.audio", "audio/x-wav audio/wav", "wav"},
    {"com.microsoft.windows-media-wma", "public.audio", "audio/x-ms-wma", "wma"},
    {"com.microsoft.windows-media-wmv", "public.movie", "video/x-ms-wmv", "wmv"},
    {"com.microsoft.advanced-systems-format", "public.movie", "application/vnd.ms-asf", "asf"},
    {"com.adobe.flash.video", "public.movie", "video/x-flv", "flv"},
    {"org.xiph.flac", "public.audio", "audio/flac", "flac"},
    {"org.xiph.ogg", "public.audiovisual-content", "application/ogg", "ogx"},
    {"org.xiph.ogg-audio", "org.xiph.ogg public.audio", "audio/ogg audio/x-vorbis+ogg", "ogg oga"},
    {"org.xiph.ogg-video", "org.xiph.ogg public.movie", "video/ogg", "ogv"},
    {"org.xiph.opus", "public.audio", "audio/x-opus+ogg", "opus"},
    {"org.matroska.mkv", "public.movie", "video/x-matroska", "mkv"},
    {"org.matroska.mka", "public.audio", "audio/x-matroska", "mka"},
    {"org.webmproject.webm", "public.movie", "video/webm", "webm"},

    // Documents
    {"com.apple.webarchive", "public.data public.composite-content", "application/x-webarchive",
     "webarchive"},
    {"org.ietf.mhtml", "public.data public.composite-content", "application/x-mimearchive multipart/related",
     "mhtml mht"},
    {"public.email-message", "public.data public.message", "message/rfc822", "eml"},
    {"public.mbox", "public.data", "application/mbox", "mbox"},
    {"com.adobe.pdf", "public.data public.composite-content", "application/pdf", "pdf"},
    {"com.adobe.postscript", "public.data public.content", "application/postscript", "ps"},
    {"com.adobe.encapsulated-postscript", "com.adobe.postscript", "image/x-eps", "eps"},
    {"com.microsoft.word.doc", "public.data public.content", "application/msword", "doc"},
    {"com.microsoft.excel.xls", "public.data public.spreadsheet", "application/vnd.ms-excel", "xls"},
    {"com.microsoft.powerpoint.ppt", "public.data public.presentation", "application/vnd.ms-powerpoint",
     "ppt"},
    {"org.openxmlformats.openxml", "public.data", "", ""},
    {"org.openxmlformats.wordprocessingml.document", "org.openxmlformats.openxml public.composite-content",
     "application/vnd.openxmlformats-officedocument.wordprocessingml.document", "docx"},
    {"org.openxmlformats.spreadsheetml.sheet", "org.openxmlformats.openxml public.spreadsheet",
     "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", "xlsx"},
    {"org.openxmlformats.presentationml.presentation", "org.openxmlformats.openxml public.presentation",
     "application/vnd.openxmlformats-officedocument.presentationml.presentation", "pptx"},
    {"org.oasis-open.opendocument", "public.data", "", ""},
    {"org.oasis-open.opendocument.text", "org.oasis-open.opendocument public.composite-content",
     "application/vnd.oasis.opendocument.text", "odt"},
    {"org.oasis-open.opendocument.spreadsheet", "org.oasis-open.opendocument public.spreadsheet",
     "application/vnd.oasis.opendocument.spreadsheet", "ods"},
    {"org.oasis-open.opendocument.presentation", "org.oasis-open.opendocument public.presentation",
     "application/vnd.oasis.opendocument.presentation", "odp"},
    {"org.oasis-open.opendocument.graphics", "org.oasis-open.opendocument public.image",
     "application/vnd.oasis.opendocument.graphics", "odg"},
    {"org.idpf.epub-container", "public.data public.composite-content", "application/epub+zip", "epub"},
    {"com.apple.property-list", "public.data", "", "plist"},
    {"com.apple.binary-property-list", "com.apple.property-list", "", ""},
    {"com.apple.xml-property-list", "com.apple.property-list public.xml", "", ""},
    {"org.sqlite.sqlite3", "public.data public.database", "application/vnd.sqlite3 application/x-sqlite3",
     "sqlite sqlite3"},

    // Archives and packages
    {"public.zip-archive", "public.archive", "application/zip", "zip"},
    {"public.tar-archive", "public.archive", "application/x-tar", "tar"},
    {"public.cpio-archive", "public.archive", "application/x-cpio", "cpio"},
    {"public.iso-image", "public.disk-image", "application/x-cd-image application/vnd.efi.iso", "iso"},
    {"public.bzip2-archive", "public.archive", "application/x-bzip application/x-bzip2", "bz2"},
    {"public.z-archive", "public.archive", "application/x-compress", "z"},
    {"org.gnu.gnu-zip-archive", "public.archive", "application/gzip", "gz"},
    {"org.gnu.gnu-zip-tar-archive", "org.gnu.gnu-zip-archive", "application/x-compressed-tar", "tgz"},
    {"org.tukaani.xz-archive", "public.archive", "application/x-xz", "xz"},
    {"org.tukaani.lzma-archive", "public.archive", "application/x-lzma", "lzma"},
    {"com.facebook.zstandard-archive", "public.archive", "application/zstd", "zst"},
    {"org.7-zip.7-zip-archive", "public.archive", "application/x-7z-compressed", "7z"},
    {"com.rarlab.rar-archive", "public.archive", "application/vnd.rar application/x-rar", "rar"},
    {"com.sun.java-archive", "public.zip-archive public.executable",
     "application/java-archive application/x-java-archive", "jar"},
    {"com.android.package-archive", "public.zip-archive", "application/vnd.android.package-archive", "apk"},
    {"org.debian.deb-archive", "public.archive", "application/vnd.debian.binary-package", "deb"},
    {"org.rpm.rpm-archive", "public.archive", "application/x-rpm", "rpm"},
    {"com.apple.disk-image-udif", "public.disk-image", "application/x-apple-diskimage", "dmg"},

    // Fonts, certificates, links and the rest
    {"public.truetype-ttf-font", "public.font", "font/ttf", "ttf"},
    {"public.truetype-collection-font", "public.font", "font/collection", "ttc"},
    {"public.opentype-font", "public.font", "font/otf", "otf"},
    {"org.w3.woff", "public.font", "font/woff application/font-woff", "woff"},
    {"org.w3.woff2", "public.font", "font/woff2", "woff2"},
    {"com.adobe.postscript-pfb-font", "public.font", "application/x-font-type1", "pfb"},
    {"public.x509-certificate", "public.security.certificate",
     "application/pkix-cert application/x-x509-ca-cert", "cer crt der"},
    {"com.rsa.pkcs-12", "public.data", "application/x-pkcs12 application/pkcs12", "p12 pfx"},
    {"public.pem", "public.plain-text", "application/x-pem-file", "pem"},
    {"org.openpgp.signature", "public.data", "application/pgp-signature", "sig"},
    {"com.microsoft.internet-shortcut", "public.data", "application/x-mswinurl", "url"},
    {"com.microsoft.windows-executable", "public.data public.executable",
     "application/x-ms-dos-executable application/vnd.microsoft.portable-executable", "exe"},
    {"com.microsoft.windows-dynamic-link-library", "public.data public.executable",
     "application/x-sharedlib-windows", "dll"},
    {"org.freedesktop.desktop-entry", "public.plain-text", "application/x-desktop", "desktop"},
    {"org.freedesktop.shared-library", "public.data public.executable", "application/x-sharedlib", "so"},
    {"org.bittorrent.torrent", "public.data", "application/x-bittorrent", "torrent"},
    {"org.webassembly.wasm", "public.data public.executable", "application/wasm", "wasm"},
    {"com.autodesk.obj", "public.text", "model/obj", "obj"},
    {"public.standard-tesselated-geometry-format", "public.data", "model/stl", "stl"},
    {"org.khronos.gltf", "public.json", "model/gltf+json", "gltf"},
    {"org.topografix.gpx", "public.xml", "application/gpx+xml", "gpx"},
    {"com.google.earth.kml", "public.xml", "application/vnd.google-earth.kml+xml", "kml"},
};

/// Base 32 without the characters that are mistaken for others.
constexpr char Digits[] = "abcdefghkmnpqrstuvwxyz0123456789";

QStringList words(const char *list) {
    return QString::fromLatin1(list).split(u' ', Qt::SkipEmptyParts);
}

struct Index {
    QHash<QString, QString> identifiers; // by extension
    QMultiHash<QString, QString> ofMIMETypes;
};

const Index &tableIndex() {
    static const Index made = [] {
        Index index;
        for (const UniformType &type : types) {
            const QString identifier = QString::fromLatin1(type.identifier);
            for (const QString &extension : words(type.extensions))
                index.identifiers.insert(extension, identifier);
            for (const QString &mimeType : words(type.mimeTypes))
                index.ofMIMETypes.insert(mimeType, identifier);
        }
        return index;
    }();
    return made;
}

QString typeOfName(const QString &name) {
    const QString extension = NSPathExtension(name).toLower();
    if (QString known = uniformTypeOfExtension(extension); !known.isNull())
        return known;
    const QMimeType mimeType = QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension);
    if (!mimeType.isDefault()) {
        if (const QStringList known = uniformTypesOfMIMEType(mimeType.name()); !known.isEmpty())
            return known.first();
    }
    if (!extension.isEmpty())
        return dynamicUniformType(u'.' + extension);
    return mimeType.isDefault() ? QStringLiteral("public.data") : dynamicUniformType(mimeType.name());
}

} // namespace

namespace zr {

std::span<const UniformType> uniformTypes() {
    return types;
}

QString uniformTypeOfExtension(const QString &extension) {
    return tableIndex().identifiers.value(extension.toLower());
}

QStringList uniformTypesOfMIMEType(const QString &mimeType) {
    return tableIndex().ofMIMETypes.values(mimeType.toLower());
}

QString dynamicUniformType(const QString &tag) {
    QString identifier = QStringLiteral("dyn.a");
    unsigned bits = 0;
    int count = 0;
    for (const char byte : tag.toLower().toUtf8()) {
        bits = (bits << 8 | uchar(byte)) & 0xFFFF;
        for (count += 8; count >= 5; count -= 5)
            identifier += QLatin1Char(Digits[bits >> (count - 5) & 31]);
    }
    if (count > 0)
        identifier += QLatin1Char(Digits[bits << (5 - count) & 31]);
    return identifier;
}

QString tagOfDynamicUniformType(const QString &identifier) {
    const QString lower = identifier.toLower();
    const QLatin1String prefix("dyn.a");
    if (!lower.startsWith(prefix))
        return {};
    const QLatin1String digits(Digits, 32);
    QByteArray tag;
    unsigned bits = 0;
    int count = 0;
    for (const QChar unit : QStringView(lower).sliced(prefix.size())) {
        const qsizetype digit = digits.indexOf(unit);
        if (digit < 0)
            return {};
        bits = (bits << 5 | unsigned(digit)) & 0xFFFF;
        count += 5;
        if (count >= 8) {
            count -= 8;
            tag += char(bits >> count & 0xFF);
        }
    }
    return tag.isEmpty() ? QString() : QString::fromUtf8(tag);
}

} // namespace zr

QString NSTypeIdentifierOfItem(const QString &path) {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    struct stat status {};
    if (bytes.isNull() || ::lstat(bytes.constData(), &status) != 0)
        return {};
    switch (status.st_mode & S_IFMT) {
    case S_IFDIR: {
        // A package is a folder that is shown as a file.
        const QString package = uniformTypeOfExtension(NSPathExtension(path));
        return package == QStringLiteral("com.apple.rtfd") ? package : QStringLiteral("public.folder");
    }
    case S_IFLNK:
        return QStringLiteral("public.symlink");
    case S_IFREG: {
        const QString name = path.mid(path.lastIndexOf(u'/') + 1);
        const bool runs = (status.st_mode & 0111) != 0;
        const QString type = typeOfName(name);
        return runs && type == QStringLiteral("public.data") ? QStringLiteral("public.unix-executable")
                                                             : type;
    }
    default:
        return QStringLiteral("public.item");
    }
}
