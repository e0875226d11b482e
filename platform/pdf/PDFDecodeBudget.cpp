// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDecodeBudget.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <memory>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_Function.hh>
#include <qpdf/Pl_RunLength.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFStreamFilter.hh>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

constexpr qint64 noLimit = std::numeric_limits<qint64>::max();
constexpr long long longestRow = 1 << 24;

thread_local qint64 budget = noLimit;

void spend(size_t length) {
    if (budget == noLimit)
        return;
    if (qint64(length) > budget) {
        budget = 0;
        throw std::runtime_error("more decoded data than allowed");
    }
    budget -= qint64(length);
}

struct Parameters {
    long long predictor = 1;
    long long columns = 1;
    long long colors = 1;
    long long bits = 8;
    bool earlyChange = true;

    size_t pixelBytes() const { return size_t(std::max(1LL, colors * bits / 8)); }
    size_t rowBytes() const { return size_t((colors * bits * columns + 7) / 8); }
    bool areUsable() const {
        const bool known = predictor == 1 || predictor == 2 || (predictor >= 10 && predictor <= 15);
        const bool depth = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
        return known && depth && columns > 0 && colors > 0 && columns <= longestRow && colors <= 64 &&
               columns * colors * bits <= longestRow;
    }
};

using Decoder = std::string (*)(const std::string &, const Parameters &);

// What one of qpdf's decoders makes of the data.
template <typename Stage, typename Action>
std::string decoded(const std::string &data, Action action) {
    std::string out;
    Pl_Function sink("sink", nullptr, [&](unsigned char const *bytes, size_t length) {
        spend(length);
        out.append(reinterpret_cast<const char *>(bytes), length);
    });
    Stage stage("decoder", &sink, action);
    stage.write(reinterpret_cast<unsigned char const *>(data.data()), data.size());
    stage.finish();
    return out;
}

std::string inflated(const std::string &data, const Parameters &) {
    return decoded<Pl_Flate>(data, Pl_Flate::a_inflate);
}

std::string runs(const std::string &data, const Parameters &) {
    return decoded<Pl_RunLength>(data, Pl_RunLength::a_decode);
}

// LZW (ISO 32000-1, 7.4.4): codes of 9 to 12 bits, the first bit highest. From 258 on, a code stands for a text
// that was written earlier and the byte after it.
std::string lzw(const std::string &data, const Parameters &parameters) {
    constexpr unsigned clear = 256, end = 257, most = 4096;
    struct Text {
        size_t start = 0;
        size_t length = 0;
    };
    std::array<Text, most> table;
    Text previous;
    std::string out;
    unsigned bits = 0, held = 0, width = 9, next = end + 1;
    for (const char byte : data) {
        bits = bits << 8 | static_cast<unsigned char>(byte);
        held += 8;
        if (held < width)
            continue;
        held -= width;
        const unsigned code = bits >> held & ((1U << width) - 1);
        if (code == end)
            break;
        if (code == clear) {
            next = end + 1;
            width = 9;
            previous = {};
            continue;
        }
        if (previous.length > 0 && next < most)
            table[next++] = {previous.start, previous.length + 1};
        if (code >= next)
            throw std::runtime_error("bad LZW code");
        const size_t start = out.size(), length = code < clear ? 1 : table[code].length;
        spend(length);
        if (code < clear)
            out.push_back(char(code));
        // A text that is new overlaps what is being written.
        for (size_t i = 0; code > end && i < length; ++i)
            out.push_back(out[table[code].start + i]);
        previous = {start, length};
        if (next + (parameters.earlyChange ? 1 : 0) >= 1U << width && width < 12)
            ++width;
    }
    return out;
}

// Undoes PNG's prediction (RFC 2083, 6). Each row begins with its kind; a last one may be cut short.
std::string withoutPNGRows(std::string data, const Parameters &parameters) {
    const size_t pixel = parameters.pixelBytes(), row = parameters.rowBytes();
    std::string above(row, '\0'), out;
    for (size_t at = 0; at + 1 < data.size(); at += row + 1) {
        const char kind = data[at];
        std::string line = data.substr(at + 1, row);
        line.resize(row, '\0');
        for (size_t i = 0; i < row; ++i) {
            const auto byte = [](const std::string &bytes, size_t index) {
                return int(static_cast<unsigned char>(bytes[index]));
            };
            const int left = i < pixel ? 0 : byte(line, i - pixel), up = byte(above, i),
                      corner = i < pixel ? 0 : byte(above, i - pixel);
            const int a = std::abs(up - corner), b = std::abs(left - corner),
                      c = std::abs(left + up - 2 * corner);
            int guess = 0;
            if (kind == 1)
                guess = left;
            else if (kind == 2)
                guess = up;
            else if (kind == 3)
                guess = (left + up) / 2;
            else if (kind == 4)
                guess = a <= b && a <= c ? left : b <= c ? up : corner;
            line[i] = char(byte(line, i) + guess);
        }
        out += line;
        above = std::move(line);
    }
    return out;
}

// Undoes TIFF's horizontal differences.
std::string withoutTIFFRows(std::string data, const Parameters &parameters) {
    const size_t row = parameters.rowBytes(), bits = size_t(parameters.bits),
                 colors = size_t(parameters.colors), samples = colors * size_t(parameters.columns);
    data.resize((data.size() + row - 1) / row * row, '\0');
    const unsigned mask = (1U << bits) - 1;
    for (size_t at = 0; at < data.size(); at += row) {
        std::array<unsigned, 64> sums{};
        for (size_t i = 0; i < samples; ++i) {
            // Samples of 16 bits take two bytes, smaller ones a part of one.
            const size_t byte = at + i * bits / 8, last = byte + (bits == 16 ? 1 : 0);
            const size_t shift = bits == 16 ? 0 : 8 - bits - i * bits % 8;
            unsigned whole = static_cast<unsigned char>(data[last]);
            if (bits == 16)
                whole |= unsigned(static_cast<unsigned char>(data[byte])) << 8;
            unsigned &sum = sums[i % colors];
            sum = (sum + (whole >> shift)) & mask;
            whole = (whole & ~(mask << shift)) | sum << shift;
            if (bits == 16)
                data[byte] = char(whole >> 8);
            data[last] = char(whole);
        }
    }
    return data;
}

// Gathers a stream's data and passes on what the filter makes of it.
class Stage : public Pipeline {
public:
    Stage(Decoder decoder, const Parameters &parameters, Pipeline *target)
        : Pipeline("stage", target), m_decoder(decoder), m_parameters(parameters) {}
    void write(unsigned char const *data, size_t length) override {
        m_data.append(reinterpret_cast<const char *>(data), length);
    }
    void finish() override {
        std::string out = m_decoder(std::exchange(m_data, {}), m_parameters);
        if (m_parameters.predictor == 2)
            out = withoutTIFFRows(std::move(out), m_parameters);
        else if (m_parameters.predictor >= 10)
            out = withoutPNGRows(std::move(out), m_parameters);
        getNext()->write(reinterpret_cast<unsigned char const *>(out.data()), out.size());
        getNext()->finish();
    }

private:
    Decoder m_decoder;
    Parameters m_parameters;
    std::string m_data;
};

class Filter : public QPDFStreamFilter {
public:
    explicit Filter(Decoder decoder) : m_decoder(decoder) {}

    bool setDecodeParms(QPDFObjectHandle given) override {
        if (given.isNull())
            return true;
        if (!given.isDictionary() || m_decoder == runs)
            return false;
        bool usable = true;
        const auto read = [&](const char *key, long long missing) {
            QPDFObjectHandle value = given.getKey(key);
            usable = usable && (value.isNull() || value.isInteger());
            return value.isInteger() ? value.getIntValue() : missing;
        };
        m_parameters = {read("/Predictor", 1), read("/Columns", 1), read("/Colors", 1),
                        read("/BitsPerComponent", 8), read("/EarlyChange", 1) != 0};
        return usable && m_parameters.areUsable();
    }
    Pipeline *getDecodePipeline(Pipeline *next) override {
        m_stage = std::make_unique<Stage>(m_decoder, m_parameters, next);
        return m_stage.get();
    }
    bool isSpecializedCompression() override { return m_decoder == runs; }

private:
    Decoder m_decoder;
    Parameters m_parameters;
    std::unique_ptr<Stage> m_stage;
};

bool registerFilters() {
    const std::pair<const char *, Decoder> decoders[] = {
        {"/FlateDecode", inflated}, {"/LZWDecode", lzw}, {"/RunLengthDecode", runs}};
    for (const auto &[name, decoder] : decoders)
        QPDF::registerStreamFilter(name, [decoder = decoder] { return std::make_shared<Filter>(decoder); });
    return true;
}

} // namespace

zr::PDFDecodeBudget::PDFDecodeBudget(qint64 bytes) : m_outer(budget) {
    [[maybe_unused]] static const bool registered = registerFilters();
    budget = std::min(bytes, m_outer);
}

zr::PDFDecodeBudget::~PDFDecodeBudget() {
    budget = m_outer;
}
