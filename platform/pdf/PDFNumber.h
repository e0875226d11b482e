// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The value of a PDF number ("1", "-.5", "+3."), whatever the locale; nothing for any other text or for
/// values beyond ±1e9.
std::optional<double> PDFParseNumber(std::string_view text);
/// A number as PDF writes it: no exponent, and at most so many digits after the point.
std::string PDFFormatNumber(double value, int decimals = 6);
