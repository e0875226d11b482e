// SPDX-License-Identifier: MIT
#include "platform/files/UniformTypes.h"

namespace {

constexpr UniformType types[] = {
    {"public.item", "", ""},
    {"public.content", "", ""},
    {"public.composite-content", "public.content", ""},
    {"public.data", "public.item", "application/octet-stream"},
    {"public.directory", "public.item", "inode/directory"},
    {"public.folder", "public.directory", ""},
    {"public.archive", "public.data", ""},
    {"public.url", "public.data", ""},
    {"public.file-url", "public.url", ""},
    {"public.message", "", ""},
    {"public.email-message", "public.data public.message", "message/rfc822"},
    {"public.text", "public.data public.content", ""},
    {"public.plain-text", "public.text", "text/plain"},
    {"public.utf8-plain-text", "public.plain-text", ""},
    {"public.utf16-plain-text", "public.plain-text", ""},
    {"public.rtf", "public.text", "text/rtf application/rtf"},
    {"public.html", "public.text", "text/html"},
    {"public.xml", "public.text", "application/xml text/xml"},
    {"public.xhtml", "public.xml", "application/xhtml+xml"},
    {"public.json", "public.text", "application/json"},
    {"public.css", "public.text", "text/css"},
    {"public.source-code", "public.plain-text", ""},
    {"public.script", "public.source-code", ""},
    {"public.comma-separated-values-text", "public.delimited-values-text", "text/csv"},
    {"public.delimited-values-text", "public.plain-text", ""},
    {"public.image", "public.data public.content", ""},
    {"public.png", "public.image", "image/png"},
    {"public.jpeg", "public.image", "image/jpeg"},
    {"public.jpeg-2000", "public.image", "image/jp2"},
    {"public.tiff", "public.image", "image/tiff"},
    {"public.heic", "public.heif", "image/heic"},
    {"public.heif", "public.image", "image/heif"},
    {"public.avif", "public.heif", "image/avif"},
    {"public.svg-image", "public.image public.xml", "image/svg+xml"},
    {"com.compuserve.gif", "public.image", "image/gif"},
    {"com.microsoft.bmp", "public.image", "image/bmp"},
    {"com.microsoft.ico", "public.image", "image/vnd.microsoft.icon image/x-icon"},
    {"org.webmproject.webp", "public.image", "image/webp"},
    {"com.apple.webarchive", "public.data public.composite-content", "application/x-webarchive"},
    {"org.ietf.mhtml", "public.data public.composite-content", "application/x-mimearchive multipart/related"},
    {"com.adobe.pdf", "public.data public.composite-content", "application/pdf"},
    {"com.adobe.postscript", "public.data public.content", "application/postscript"},
    {"com.adobe.encapsulated-postscript", "com.adobe.postscript", "image/x-eps"},
    {"com.apple.property-list", "public.data", ""},
    {"com.apple.binary-property-list", "com.apple.property-list", ""},
    {"com.apple.xml-property-list", "com.apple.property-list public.xml", ""},
    {"public.audiovisual-content", "public.data public.content", ""},
    {"public.audio", "public.audiovisual-content", ""},
    {"public.movie", "public.audiovisual-content", ""},
    {"public.video", "public.movie", ""},
    {"public.mp3", "public.audio", "audio/mpeg"},
    {"public.mpeg-4", "public.movie", "video/mp4"},
    {"public.font", "public.data", ""},
    {"public.zip-archive", "public.archive", "application/zip"},
    {"org.gnu.gnu-zip-archive", "public.archive", "application/gzip"},
    {"public.executable", "public.item", ""},
};

} // namespace

std::span<const UniformType> uniformTypes() {
    return types;
}
