// SPDX-License-Identifier: MIT
// Digests of a file of 64 MB in the system's cache, beside the same by OpenSSL alone, as sha256sum does it,
// and beside QCryptographicHash; the type identifier of a file beside the MIME database's own answer.
#include "ZRKit/Storage/NSFileManager+ZRKit.h"

#include <QCryptographicHash>
#include <QFile>
#include <QMimeDatabase>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <openssl/evp.h>
#include <vector>

namespace {

constexpr qsizetype size = 64 << 20;

const QString &file() {
    static const QTemporaryDir folder;
    static const QString path = [] {
        QFile made(folder.filePath(QStringLiteral("data.png")));
        if (!made.open(QIODevice::WriteOnly))
            std::abort();
        QByteArray piece(1 << 20, Qt::Uninitialized);
        for (qsizetype i = 0; i < piece.size(); ++i)
            piece[i] = char(i * 31 + i / 251);
        for (qsizetype done = 0; done < size; done += piece.size())
            made.write(piece);
        return made.fileName();
    }();
    return path;
}

void sha256(benchmark::State &state) {
    const QString &path = file();
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::zrFileSHA256Data(NSFileManager::defaultManager(), path));
    state.SetBytesProcessed(state.iterations() * size);
}

void md5(benchmark::State &state) {
    const QString &path = file();
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::zrFileMD5Data(NSFileManager::defaultManager(), path));
    state.SetBytesProcessed(state.iterations() * size);
}

void openSSL(benchmark::State &state, const EVP_MD *type) {
    const QString &path = file();
    std::vector<unsigned char> piece(32 << 10);
    unsigned char result[EVP_MAX_MD_SIZE];
    for (auto _ : state) {
        std::FILE *const input = std::fopen(path.toUtf8().constData(), "rb");
        EVP_MD_CTX *const context = EVP_MD_CTX_new();
        EVP_DigestInit_ex(context, type, nullptr);
        while (const size_t count = std::fread(piece.data(), 1, piece.size(), input))
            EVP_DigestUpdate(context, piece.data(), count);
        EVP_DigestFinal_ex(context, result, nullptr);
        EVP_MD_CTX_free(context);
        std::fclose(input);
        benchmark::DoNotOptimize(result);
    }
    state.SetBytesProcessed(state.iterations() * size);
}

void sha256OpenSSL(benchmark::State &state) {
    openSSL(state, EVP_sha256());
}

void md5OpenSSL(benchmark::State &state) {
    openSSL(state, EVP_md5());
}

void sha256Qt(benchmark::State &state) {
    const QString &path = file();
    for (auto _ : state) {
        QFile input(path);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        if (!input.open(QIODevice::ReadOnly) || !hash.addData(&input))
            state.SkipWithError("not read");
        benchmark::DoNotOptimize(hash.result());
    }
    state.SetBytesProcessed(state.iterations() * size);
}

void typeIdentifier(benchmark::State &state) {
    const QString &path = file();
    for (auto _ : state)
        benchmark::DoNotOptimize(ZRKit::zrFileUTI(NSFileManager::defaultManager(), path));
}

void typeMIMEDatabase(benchmark::State &state) {
    const QString &path = file();
    const QMimeDatabase database;
    for (auto _ : state)
        benchmark::DoNotOptimize(database.mimeTypeForFile(path, QMimeDatabase::MatchExtension).name());
}

BENCHMARK(sha256)->Unit(benchmark::kMillisecond);
BENCHMARK(sha256OpenSSL)->Unit(benchmark::kMillisecond);
BENCHMARK(sha256Qt)->Unit(benchmark::kMillisecond);
BENCHMARK(md5)->Unit(benchmark::kMillisecond);
BENCHMARK(md5OpenSSL)->Unit(benchmark::kMillisecond);
BENCHMARK(typeIdentifier);
BENCHMARK(typeMIMEDatabase);

} // namespace
