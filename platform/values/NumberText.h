// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>

/// Numbers as text and text as numbers, the same for every value. Reading starts at the text's beginning,
/// skips white space and ignores what follows the number; it never fails. No locale plays a part. Any thread.
namespace zr::NumberText {

/// True when, after white space, one sign and zeros, the next character is Y, y, T, t or a digit from 1 to 9.
bool boolValue(QStringView text);
/// Sign and decimal digits; 0 without digits, the nearest end of the range beyond it.
qint64 longLongValue(QStringView text);
/// As strtoull() in base 10: a minus sign negates modulo 2^64, what is too large gives the largest value.
quint64 unsignedLongLongValue(QStringView text);
/// The nearest double of sign, digits, fraction and exponent; 0 when nothing is readable, an infinity when
/// the number is too large.
double doubleValue(QStringView text);
float floatValue(QStringView text);

/// The shortest text that reads back as the same number: plain digits from 1e-6 up to below 1e21 ("0.1",
/// "1700000000"), with an exponent elsewhere ("1e+21"); "nan", "inf" and "-inf".
QString text(double number);
QString text(float number);

} // namespace zr::NumberText
