// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFNumber.h"

#include "platform/pdf/PDFFile.h"

#include <charconv>
#include <cmath>

std::optional<double> PDFParseNumber(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+'))
        text.remove_prefix(1);
    if (text.empty() || (text.front() != '.' && (text.front() < '0' || text.front() > '9')))
        return std::nullopt;
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || !(value <= 1e9))
        return std::nullopt;
    return negative ? -value : value;
}

std::string PDFFormatNumber(double value, int decimals) {
    char buffer[64];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    std::string_view text(buffer, size_t(result.ptr - buffer));
    while (text.back() == '0')
        text.remove_suffix(1);
    if (text.back() == '.')
        text.remove_suffix(1);
    return text == "-0" ? "0" : std::string(text);
}

std::string PDFBoxPlan::contentMatrix() const {
    // The scale multiplies positions of a page that may be millions of units tall.
    const std::string factor = PDFFormatNumber(scale, 12);
    return factor + " 0 0 " + factor + ' ' + PDFFormatNumber(dx) + ' ' + PDFFormatNumber(dy) + " cm\n";
}

std::optional<PDFBoxPlan> PDFBoxPlan::make(const QRectF &box, double userUnit, const PDFPageCut &pageCut) {
    const QRectF cut = pageCut.box;
    const double unit = userUnit * pageCut.magnification;
    const auto usable = [](double side) { return std::isfinite(side) && side > 0 && side <= 1e9; };
    if (!usable(cut.width()) || !usable(cut.height()) || !usable(unit) || !(std::abs(cut.x()) <= 1e9) ||
        !(std::abs(cut.y()) <= 1e9))
        return std::nullopt;
    PDFBoxPlan plan;
    // Powers of two: every size and position stays exact, in readers that calculate in single precision too.
    while (std::max(cut.width(), cut.height()) / plan.userUnit > PDFLongestSide)
        plan.userUnit *= 2;
    plan.width = cut.width() / plan.userUnit;
    plan.height = cut.height() / plan.userUnit;
    plan.scale = unit / plan.userUnit;
    const double left = box.left() + cut.left() / unit;
    const double bottom = box.bottom() - cut.bottom() / unit;
    plan.dx = -left * plan.scale;
    plan.dy = -bottom * plan.scale;
    // Differences that no output file could show.
    if (std::abs(plan.dx) < 1e-6)
        plan.dx = 0;
    if (std::abs(plan.dy) < 1e-6)
        plan.dy = 0;
    return plan;
}
