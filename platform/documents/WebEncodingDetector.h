// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebTextEncoding.h"

#include <QByteArrayView>

/// Recognises the encoding of text that declares none.
///
/// ICU's statistics need long texts. Short ones are told apart by what the decoded words look like: one
/// script a word, capitals at starts only, accents among plain letters, characters that are common in their
/// language.
class WebEncodingDetector {
public:
    /// The likeliest encoding of bytes that are not valid UTF-8; windows-1252 in doubt. `isMarkup` leaves
    /// tags out of the statistics. Any thread.
    static WebTextEncoding detect(QByteArrayView bytes, bool isMarkup);
};
