// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/Metrics.h"

#include "tools/zrpdf-serve/Problem.h"

using namespace zr;

namespace {

class Writer {
public:
    void family(const char *name, const char *type, const char *help) {
        m_name = name;
        m_text += QByteArray("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
    }
    /// \param labels  with their braces
    void sample(double value, const QByteArray &labels = {}, const char *suffix = "") {
        m_text += m_name + suffix + labels + ' ' + QByteArray::number(value, 'g', 17) + '\n';
    }
    const QByteArray &text() const { return m_text; }

private:
    QByteArray m_name;
    QByteArray m_text;
};

} // namespace

void Metrics::converted(double seconds) {
    const std::lock_guard lock(m_mutex);
    ++m_converted;
    m_seconds += seconds;
    for (std::size_t index = 0; index < bounds.size(); ++index)
        m_buckets[index] += seconds <= bounds[index] ? 1 : 0;
}

void Metrics::failed(const QByteArray &code) {
    const std::lock_guard lock(m_mutex);
    ++m_failures[code];
}

void Metrics::answered(int status, qsizetype requestBytes, qsizetype answerBytes) {
    const std::lock_guard lock(m_mutex);
    ++m_answers[status];
    m_requestBytes += std::uint64_t(requestBytes);
    m_answerBytes += std::uint64_t(answerBytes);
}

QByteArray Metrics::text(const Gauges &gauges) const {
    const std::lock_guard lock(m_mutex);
    Writer writer;
    writer.family("zrpdf_build_info", "gauge", "The program's version.");
    writer.sample(1, "{version=\"" ZR_VERSION "\"}");
    writer.family("zrpdf_conversions_total", "counter", "Documents that became PDFs.");
    writer.sample(double(m_converted));
    writer.family("zrpdf_failures_total", "counter",
                  "Requests for a PDF that got none, by the problem's code.");
    const auto failures = [&](const QByteArray &code) {
        const auto found = m_failures.find(code);
        writer.sample(found == m_failures.end() ? 0 : double(found->second), "{code=\"" + code + "\"}");
    };
    for (const char *code : Problem::codes())
        failures(code);
    failures("abandoned");
    writer.family("zrpdf_conversion_seconds", "histogram",
                  "Time from a request's last byte to its PDF, waiting included.");
    for (std::size_t index = 0; index < bounds.size(); ++index)
        writer.sample(double(m_buckets[index]), "{le=\"" + QByteArray::number(bounds[index]) + "\"}",
                      "_bucket");
    writer.sample(double(m_converted), "{le=\"+Inf\"}", "_bucket");
    writer.sample(m_seconds, {}, "_sum");
    writer.sample(double(m_converted), {}, "_count");
    writer.family("zrpdf_requests_in_flight", "gauge", "Requests for a PDF that are waiting or worked on.");
    writer.sample(gauges.inFlight);
    writer.family("zrpdf_queue_length", "gauge", "Documents that wait for an instance.");
    writer.sample(double(gauges.converter.waiting));
    writer.family("zrpdf_queue_limit", "gauge", "How many documents may wait.");
    writer.sample(gauges.queueLimit);
    writer.family("zrpdf_instances", "gauge", "How many documents can be worked on at once.");
    writer.sample(gauges.converter.instances);
    writer.family("zrpdf_instances_working", "gauge", "How many documents are worked on.");
    writer.sample(gauges.converter.working);
    writer.family("zrpdf_instance_restarts_total", "counter",
                  "Instances that ended and had to be started again.");
    writer.sample(double(gauges.converter.ended));
    writer.family("zrpdf_http_responses_total", "counter", "Answers of any kind, by status.");
    for (const auto &[status, count] : m_answers)
        writer.sample(double(count), "{status=\"" + QByteArray::number(status) + "\"}");
    writer.family("zrpdf_http_request_bytes_total", "counter", "Bytes of request bodies.");
    writer.sample(double(m_requestBytes));
    writer.family("zrpdf_http_response_bytes_total", "counter", "Bytes of answers' bodies.");
    writer.sample(double(m_answerBytes));
    return writer.text();
}
