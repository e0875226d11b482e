// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDecodeBudget.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <memory>
#include <qpdf/Pipeline.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_RunLength.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFStreamFilter.hh>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

constexpr qint64 noLimit = std::numeric_limits<qint64>::max();
constexpr long long longestRow = 1 << 24;

thread_local qint64 budget = noLimit;

// Passes data on as long as the budget lasts.
class Meter : public Pipeline {
public:
    explicit Meter(Pipeline *target) : Pipeline("meter", target) {}
    void write(unsigned char const *data, size_t length) override {
        if (budget != noLimit) {
            if (qint64(length) > budget) {
                budget = 0;
                throw std::runtime_error("more decoded data than allowed");
            }
            budget -= qint64(length);
        }
        getNext()->write(data, length);
    }
    void finish() override { getNext()->finish(); }
};

struct Prediction {
    int predictor = 1;
    long long columns = 1;
    long long colors = 1;
    long long bits = 8;

    size_t pixelBytes() const { return size_t(std::max(1LL, colors * bits / 8)); }
    size_t rowBytes() const { return size_t((colors * bits * columns + 7) / 8); }
    bool isUsable() const {
        const bool known = predictor == 1 || predictor == 2 || (predictor >= 10 && predictor <= 15);
        const bool depth = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
        return known && depth && columns > 0 && colors > 0 && columns <= longestRow && colors <= 64 &&
               columns * colors * bits <= longestRow;
    }
};

// Undoes PNG's prediction (RFC 2083, 6) row by row.
class PngRows : public Pipeline {
public:
    PngRows(const Prediction &prediction, Pipeline *target)
        : Pipeline("png rows", target), m_pixel(prediction.pixelBytes()), m_row(prediction.rowBytes() + 1),
          m_above(prediction.rowBytes() + 1) {}

    void write(unsigned char const *data, size_t length) override {
        for (size_t i = 0; i < length; ++i) {
            m_row[m_filled++] = data[i];
            if (m_filled == m_row.size())
                flush();
        }
    }
    void finish() override {
        if (m_filled > 1)
            flush();
        getNext()->finish();
    }

private:
    void flush() {
        std::fill(m_row.begin() + std::ptrdiff_t(m_filled), m_row.end(), static_cast<unsigned char>(0));
        for (size_t i = 1; i < m_row.size(); ++i) {
            const int left = i > m_pixel ? m_row[i - m_pixel] : 0, up = m_above[i],
                      corner = i > m_pixel ? m_above[i - m_pixel] : 0;
            int guess = 0;
            if (m_row[0] == 1)
                guess = left;
            else if (m_row[0] == 2)
                guess = up;
            else if (m_row[0] == 3)
                guess = (left + up) / 2;
            else if (m_row[0] == 4)
                guess = paeth(left, up, corner);
            m_row[i] = static_cast<unsigned char>(m_row[i] + guess);
        }
        getNext()->write(m_row.data() + 1, m_row.size() - 1);
        std::swap(m_row, m_above);
        m_filled = 0;
    }

    static int paeth(int left, int up, int corner) {
        const int estimate = left + up - corner;
        const int a = std::abs(estimate - left), b = std::abs(estimate - up), c = std::abs(estimate - corner);
        return a <= b && a <= c ? left : b <= c ? up : corner;
    }

    size_t m_pixel;
    size_t m_filled = 0;
    std::vector<unsigned char> m_row;
    std::vector<unsigned char> m_above;
};

// Undoes TIFF's horizontal differences row by row.
class TiffRows : public Pipeline {
public:
    TiffRows(const Prediction &prediction, Pipeline *target)
        : Pipeline("tiff rows", target), m_prediction(prediction), m_row(prediction.rowBytes()) {}

    void write(unsigned char const *data, size_t length) override {
        for (size_t i = 0; i < length; ++i) {
            m_row[m_filled++] = data[i];
            if (m_filled == m_row.size())
                flush();
        }
    }
    void finish() override {
        if (m_filled > 0)
            flush();
        getNext()->finish();
    }

private:
    void flush() {
        std::fill(m_row.begin() + std::ptrdiff_t(m_filled), m_row.end(), static_cast<unsigned char>(0));
        const auto colors = size_t(m_prediction.colors), bits = size_t(m_prediction.bits);
        const size_t samples = colors * size_t(m_prediction.columns);
        std::vector<unsigned> previous(colors, 0);
        for (size_t i = 0; i < samples; ++i) {
            unsigned &sum = previous[i % colors];
            sum = (sum + sample(i, bits)) & ((1U << bits) - 1);
            setSample(i, bits, sum);
        }
        getNext()->write(m_row.data(), m_row.size());
        m_filled = 0;
    }

    unsigned sample(size_t index, size_t bits) const {
        if (bits == 16)
            return unsigned(m_row[index * 2]) << 8 | m_row[index * 2 + 1];
        const size_t bit = index * bits;
        return unsigned(m_row[bit / 8]) >> (8 - bits - bit % 8) & ((1U << bits) - 1);
    }
    void setSample(size_t index, size_t bits, unsigned value) {
        if (bits == 16) {
            m_row[index * 2] = static_cast<unsigned char>(value >> 8);
            m_row[index * 2 + 1] = static_cast<unsigned char>(value);
            return;
        }
        const size_t bit = index * bits, shift = 8 - bits - bit % 8;
        const unsigned mask = ((1U << bits) - 1) << shift;
        m_row[bit / 8] = static_cast<unsigned char>((m_row[bit / 8] & ~mask) | value << shift);
    }

    Prediction m_prediction;
    size_t m_filled = 0;
    std::vector<unsigned char> m_row;
};

// Decodes LZW (ISO 32000-1, 7.4.4): codes of 9 to 12 bits, the first bit highest.
class LzwCodes : public Pipeline {
public:
    LzwCodes(bool earlyChange, Pipeline *target) : Pipeline("lzw", target), m_early(earlyChange ? 1 : 0) {}

    void write(unsigned char const *data, size_t length) override {
        for (size_t i = 0; i < length && !m_ended; ++i) {
            m_bits = m_bits << 8 | data[i];
            m_held += 8;
            if (m_held >= m_width) {
                m_held -= m_width;
                code(m_bits >> m_held & ((1U << m_width) - 1));
            }
        }
    }
    void finish() override { getNext()->finish(); }

private:
    static constexpr unsigned clear = 256;
    static constexpr unsigned end = 257;
    static constexpr unsigned none = 0xFFFF;
    static constexpr unsigned most = 4096;

    struct Entry {
        unsigned short prefix;
        unsigned char last;
    };

    void code(unsigned code) {
        if (code == end) {
            m_ended = true;
            return;
        }
        if (code == clear) {
            m_next = end + 1;
            m_width = 9;
            m_previous = none;
            return;
        }
        if (code > m_next || (code == m_next && m_previous == none) || (code == m_next && m_next == most))
            throw std::runtime_error("bad LZW code");
        // A code that is only now made stands for the previous text and its first byte.
        m_text.clear();
        unsigned walk = code == m_next ? m_previous : code;
        while (walk > end) {
            m_text.push_back(m_table[walk].last);
            walk = m_table[walk].prefix;
        }
        const auto first = static_cast<unsigned char>(walk);
        m_text.push_back(first);
        std::reverse(m_text.begin(), m_text.end());
        if (code == m_next)
            m_text.push_back(first);
        if (m_previous != none && m_next < most)
            m_table[m_next++] = {static_cast<unsigned short>(m_previous), first};
        if (m_next + m_early >= 1U << m_width && m_width < 12)
            ++m_width;
        m_previous = code;
        getNext()->write(m_text.data(), m_text.size());
    }

    unsigned m_early;
    unsigned m_bits = 0;
    unsigned m_held = 0;
    unsigned m_width = 9;
    unsigned m_next = end + 1;
    unsigned m_previous = none;
    bool m_ended = false;
    std::array<Entry, most> m_table{};
    std::vector<unsigned char> m_text;
};

class PredictingFilter : public QPDFStreamFilter {
public:
    bool setDecodeParms(QPDFObjectHandle parameters) override {
        if (parameters.isNull())
            return true;
        if (!parameters.isDictionary())
            return false;
        bool usable = true;
        const auto read = [&](const char *key, long long fallback) {
            QPDFObjectHandle value = parameters.getKey(key);
            usable = usable && (value.isNull() || value.isInteger());
            return value.isInteger() ? value.getIntValue() : fallback;
        };
        const long long predictor = read("/Predictor", 1);
        m_prediction.predictor = predictor >= 0 && predictor < 100 ? int(predictor) : -1;
        m_prediction.columns = read("/Columns", 1);
        m_prediction.colors = read("/Colors", 1);
        m_prediction.bits = read("/BitsPerComponent", 8);
        m_earlyChange = read("/EarlyChange", 1) != 0;
        return usable && m_prediction.isUsable();
    }

protected:
    // What undoes the prediction; `next` itself where there is none.
    Pipeline *predicted(Pipeline *next) {
        if (m_prediction.predictor == 1)
            return next;
        return m_prediction.predictor == 2 ? add<TiffRows>(m_prediction, next)
                                           : add<PngRows>(m_prediction, next);
    }
    template <typename Stage, typename... Arguments>
    Pipeline *add(Arguments &&...arguments) {
        m_stages.push_back(std::make_unique<Stage>(std::forward<Arguments>(arguments)...));
        return m_stages.back().get();
    }

    bool m_earlyChange = true;

private:
    Prediction m_prediction;
    std::vector<std::unique_ptr<Pipeline>> m_stages;
};

class FlateFilter : public PredictingFilter {
public:
    Pipeline *getDecodePipeline(Pipeline *next) override {
        return add<Pl_Flate>("inflate", add<Meter>(predicted(next)), Pl_Flate::a_inflate);
    }
};

class LzwFilter : public PredictingFilter {
public:
    Pipeline *getDecodePipeline(Pipeline *next) override {
        return add<LzwCodes>(m_earlyChange, add<Meter>(predicted(next)));
    }
};

class RunLengthFilter : public QPDFStreamFilter {
public:
    Pipeline *getDecodePipeline(Pipeline *next) override {
        m_meter = std::make_unique<Meter>(next);
        m_decoder = std::make_unique<Pl_RunLength>("run lengths", m_meter.get(), Pl_RunLength::a_decode);
        return m_decoder.get();
    }
    bool isSpecializedCompression() override { return true; }

private:
    std::unique_ptr<Meter> m_meter;
    std::unique_ptr<Pl_RunLength> m_decoder;
};

void registerFilters() {
    QPDF::registerStreamFilter("/FlateDecode", [] { return std::make_shared<FlateFilter>(); });
    QPDF::registerStreamFilter("/LZWDecode", [] { return std::make_shared<LzwFilter>(); });
    QPDF::registerStreamFilter("/RunLengthDecode", [] { return std::make_shared<RunLengthFilter>(); });
}

} // namespace

PDFDecodeBudget::PDFDecodeBudget(qint64 bytes) : m_outer(budget) {
    static const bool registered = (registerFilters(), true);
    Q_UNUSED(registered)
    budget = std::min(bytes, m_outer);
}

PDFDecodeBudget::~PDFDecodeBudget() {
    budget = m_outer;
}
