// SPDX-License-Identifier: MIT
#include "platform/base/BlockedPipeSignal.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/ListenOnLoopback.h"

#include <atomic>
#include <memory>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

namespace {

/// A TLS 1.2 server that asks for a new handshake, with its certificate, before it answers the second and
/// later requests of a connection.
class RenegotiatingServer {
public:
    RenegotiatingServer()
        : m_context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free), m_listener(listenOnLoopback(&m_port)) {
        SSL_CTX_set_max_proto_version(m_context.get(), TLS1_2_VERSION);
        // A session taken up again would show no certificate.
        SSL_CTX_set_session_cache_mode(m_context.get(), SSL_SESS_CACHE_OFF);
        SSL_CTX_set_options(m_context.get(),
                            SSL_OP_NO_TICKET | SSL_OP_NO_SESSION_RESUMPTION_ON_RENEGOTIATION);
        useCertificateOfItsOwn();
        m_thread = std::thread([this] { serve(); });
    }
    ~RenegotiatingServer() {
        m_ending = true;
        ::shutdown(m_listener, SHUT_RDWR);
        ::shutdown(m_connection, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
    }
    RenegotiatingServer(const RenegotiatingServer &) = delete;
    RenegotiatingServer &operator=(const RenegotiatingServer &) = delete;

    QUrl url() const { return QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(m_port)); }
    int asked() const { return m_asked; }
    int renewed() const { return m_renewed; }

private:
    void useCertificateOfItsOwn() {
        const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_RSA_gen(2048), EVP_PKEY_free);
        const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
        X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
        X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
        X509_set_pubkey(certificate.get(), key.get());
        if (X509_sign(certificate.get(), key.get(), EVP_sha256()) == 0 ||
            SSL_CTX_use_certificate(m_context.get(), certificate.get()) != 1 ||
            SSL_CTX_use_PrivateKey(m_context.get(), key.get()) != 1)
            throw std::runtime_error("cannot make a certificate");
    }
    void serve() {
        const zr::BlockedPipeSignal blocked;
        for (int fd = 0; !m_ending && (fd = ::accept(m_listener, nullptr, nullptr)) >= 0; ::close(fd)) {
            m_connection = fd;
            if (!m_ending)
                answer(fd);
        }
    }
    void answer(int fd) {
        const std::unique_ptr<SSL, decltype(&SSL_free)> ssl(SSL_new(m_context.get()), SSL_free);
        SSL_set_fd(ssl.get(), fd);
        if (SSL_accept(ssl.get()) != 1)
            return;
        char buffer[4096];
        for (bool isFirst = true; SSL_read(ssl.get(), buffer, sizeof buffer) > 0; isFirst = false) {
            if (!isFirst && !renew(ssl.get(), fd))
                return;
            constexpr std::string_view answer = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody";
            SSL_write(ssl.get(), answer.data(), int(answer.size()));
        }
    }
    /// False if the client refuses.
    bool renew(SSL *ssl, int fd) {
        ++m_asked;
        SSL_renegotiate(ssl);
        SSL_do_handshake(ssl);
        // Reads until the client refuses, or, the handshake done, waits in vain for a request.
        const timeval second{1, 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second);
        char byte = 0;
        const int result = SSL_peek(ssl, &byte, 1);
        if (SSL_get_error(ssl, result) != SSL_ERROR_WANT_READ)
            return false;
        ++m_renewed;
        const timeval none{};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);
        return true;
    }

    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> m_context;
    int m_port = 0;
    const int m_listener;
    std::atomic<int> m_connection{-1};
    std::atomic<int> m_asked{0};
    std::atomic<int> m_renewed{0};
    std::atomic<bool> m_ending{false};
    std::thread m_thread;
};

/// Whoever judged the server's certificate is gone by then.
TEST(FetchTLS, AKeptConnectionShowsNoNewCertificate) {
    const RenegotiatingServer server;
    EXPECT_EQ(fetched(QVariant(server.url())).string, QStringLiteral("body"));
    const Fetched second = fetched(QVariant(server.url()));
    EXPECT_EQ(second.calls, 1);
    EXPECT_TRUE(second.OK || second.error.domain() == NSURLErrorDomain);
    EXPECT_EQ(server.asked(), 1);
    EXPECT_EQ(server.renewed(), 0);
}

} // namespace
