// SPDX-License-Identifier: MIT
#include "tests/platform/store/FaultyFiles.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <cstring>
#include <sqlite3.h>
#include <vector>

namespace {

using namespace FaultyFiles;

/// What fails next.
struct {
    bool isArmed = false;
    Fault fault = Fault::Memory;
    int left = 0;
    bool isLasting = false;
    bool hasHit = false;
} plan;

bool fails(Fault fault) {
    if (!plan.isArmed || plan.fault != fault)
        return false;
    if (--plan.left > 0 || (plan.left < 0 && !plan.isLasting))
        return false;
    plan.hasHit = true;
    return true;
}

// ---- Memory

sqlite3_mem_methods memory;

void *allocate(int size) {
    return fails(Fault::Memory) ? nullptr : memory.xMalloc(size);
}

void *reallocate(void *block, int size) {
    return fails(Fault::Memory) ? nullptr : memory.xRealloc(block, size);
}

// ---- What is on the disk

/// A file as it was last synced, and what has been done to it since.
struct Disk {
    struct Write {
        qint64 offset;
        QByteArray bytes;
        bool isTruncation;
    };
    QByteArray synced;
    std::vector<Write> pending;

    static void apply(QByteArray &content, const Write &write) {
        if (write.isTruncation) {
            content.resize(write.offset);
            return;
        }
        if (content.size() < write.offset + write.bytes.size())
            content.append(QByteArray(write.offset + write.bytes.size() - content.size(), '\0'));
        std::memcpy(content.data() + write.offset, write.bytes.constData(), size_t(write.bytes.size()));
    }
    void sync() {
        for (const Write &write : pending)
            apply(synced, write);
        pending.clear();
    }
    QByteArray afterCut(std::mt19937 &dice) const {
        constexpr qint64 Sector = 512;
        QByteArray content = synced;
        for (const Write &write : pending) {
            if (write.isTruncation) {
                if (dice() % 2 == 0)
                    apply(content, write);
                continue;
            }
            for (qint64 at = 0; at < write.bytes.size(); at += Sector) {
                if (dice() % 4 != 0)
                    apply(content, {write.offset + at, write.bytes.mid(at, Sector), false});
            }
        }
        return content;
    }
};

struct {
    QString folder;
    QMap<QString, Disk> files;
    int left = 0;
    QString into;
    std::mt19937 *dice = nullptr;
} recording;

Disk *diskOf(const QString &path) {
    const bool isKept = !recording.folder.isEmpty() && path.startsWith(recording.folder) &&
                        !path.endsWith(QLatin1String("-shm"));
    return isKept ? &recording.files[path] : nullptr;
}

void count() {
    if (recording.left == 0 || --recording.left > 0)
        return;
    for (auto at = recording.files.cbegin(); at != recording.files.cend(); ++at) {
        QFile file(recording.into + at.key().mid(recording.folder.size()));
        if (file.open(QIODevice::WriteOnly))
            file.write(at.value().afterCut(*recording.dice));
    }
}

// ---- Files

struct File {
    sqlite3_file base;
    sqlite3_file *real;
    Disk *disk;
};

sqlite3_file *realOf(sqlite3_file *file) {
    return reinterpret_cast<File *>(file)->real;
}

int closeFile(sqlite3_file *file) {
    return realOf(file)->pMethods ? realOf(file)->pMethods->xClose(realOf(file)) : SQLITE_OK;
}

int readFile(sqlite3_file *file, void *data, int size, sqlite3_int64 offset) {
    return fails(Fault::IO) ? SQLITE_IOERR_READ
                            : realOf(file)->pMethods->xRead(realOf(file), data, size, offset);
}

int writeFile(sqlite3_file *file, const void *data, int size, sqlite3_int64 offset) {
    if (fails(Fault::IO))
        return SQLITE_IOERR_WRITE;
    if (fails(Fault::Full))
        return SQLITE_FULL;
    if (Disk *disk = reinterpret_cast<File *>(file)->disk)
        disk->pending.push_back({offset, QByteArray(static_cast<const char *>(data), size), false});
    count();
    return realOf(file)->pMethods->xWrite(realOf(file), data, size, offset);
}

int truncateFile(sqlite3_file *file, sqlite3_int64 size) {
    if (fails(Fault::IO))
        return SQLITE_IOERR_TRUNCATE;
    if (Disk *disk = reinterpret_cast<File *>(file)->disk)
        disk->pending.push_back({size, {}, true});
    count();
    return realOf(file)->pMethods->xTruncate(realOf(file), size);
}

int syncFile(sqlite3_file *file, int) {
    if (fails(Fault::IO))
        return SQLITE_IOERR_FSYNC;
    count();
    if (Disk *disk = reinterpret_cast<File *>(file)->disk)
        disk->sync();
    return SQLITE_OK;
}

int sizeOfFile(sqlite3_file *file, sqlite3_int64 *size) {
    return fails(Fault::IO) ? SQLITE_IOERR_FSTAT : realOf(file)->pMethods->xFileSize(realOf(file), size);
}

int lockFile(sqlite3_file *file, int lock) {
    return fails(Fault::IO) ? SQLITE_IOERR_LOCK : realOf(file)->pMethods->xLock(realOf(file), lock);
}

int unlockFile(sqlite3_file *file, int lock) {
    return realOf(file)->pMethods->xUnlock(realOf(file), lock);
}

int checkReservedLock(sqlite3_file *file, int *isReserved) {
    return realOf(file)->pMethods->xCheckReservedLock(realOf(file), isReserved);
}

int controlFile(sqlite3_file *file, int operation, void *argument) {
    return realOf(file)->pMethods->xFileControl(realOf(file), operation, argument);
}

int sectorSize(sqlite3_file *file) {
    return realOf(file)->pMethods->xSectorSize(realOf(file));
}

int characteristics(sqlite3_file *file) {
    return realOf(file)->pMethods->xDeviceCharacteristics(realOf(file));
}

int mapShared(sqlite3_file *file, int region, int size, int isExtended, void volatile **memoryOut) {
    return fails(Fault::IO)
               ? SQLITE_IOERR_SHMMAP
               : realOf(file)->pMethods->xShmMap(realOf(file), region, size, isExtended, memoryOut);
}

int lockShared(sqlite3_file *file, int offset, int many, int flags) {
    return realOf(file)->pMethods->xShmLock(realOf(file), offset, many, flags);
}

void shareBarrier(sqlite3_file *file) {
    realOf(file)->pMethods->xShmBarrier(realOf(file));
}

int unmapShared(sqlite3_file *file, int isDeleted) {
    return realOf(file)->pMethods->xShmUnmap(realOf(file), isDeleted);
}

const sqlite3_io_methods methods = {
    2,          closeFile,    readFile,          writeFile,   truncateFile, syncFile,        sizeOfFile,
    lockFile,   unlockFile,   checkReservedLock, controlFile, sectorSize,   characteristics, mapShared,
    lockShared, shareBarrier, unmapShared,       nullptr,     nullptr};

sqlite3_vfs *real = nullptr;

int openFile(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *flagsOut) {
    auto *own = reinterpret_cast<File *>(file);
    own->base.pMethods = nullptr;
    own->real = reinterpret_cast<sqlite3_file *>(own + 1);
    own->real->pMethods = nullptr;
    if (fails(Fault::IO))
        return SQLITE_CANTOPEN;
    const int result = real->xOpen(real, name, own->real, flags, flagsOut);
    if (result != SQLITE_OK)
        return result;
    own->disk = name ? diskOf(QString::fromUtf8(name)) : nullptr;
    own->base.pMethods = &methods;
    return SQLITE_OK;
}

int deleteFile(sqlite3_vfs *, const char *name, int) {
    if (fails(Fault::IO))
        return SQLITE_IOERR_DELETE;
    // That a name is gone may reach the disk at once.
    if (diskOf(QString::fromUtf8(name)))
        recording.files.remove(QString::fromUtf8(name));
    return real->xDelete(real, name, 0);
}

int accessFile(sqlite3_vfs *, const char *name, int flags, int *result) {
    return fails(Fault::IO) ? SQLITE_IOERR_ACCESS : real->xAccess(real, name, flags, result);
}

/// Before SQLite is used for the first time.
const bool isSetUp = [] {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &memory);
    sqlite3_mem_methods faulty = memory;
    faulty.xMalloc = allocate;
    faulty.xRealloc = reallocate;
    sqlite3_config(SQLITE_CONFIG_MALLOC, &faulty);
    // Small blocks would come from a reserve otherwise.
    sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
    real = sqlite3_vfs_find(nullptr);
    static sqlite3_vfs vfs = *real;
    vfs.zName = "faulty";
    vfs.szOsFile = int(sizeof(File)) + real->szOsFile;
    vfs.xOpen = openFile;
    vfs.xDelete = deleteFile;
    vfs.xAccess = accessFile;
    return sqlite3_vfs_register(&vfs, 1) == SQLITE_OK;
}();

} // namespace

namespace FaultyFiles {

void arm(Fault fault, int nth, bool lasting) {
    plan = {isSetUp, fault, nth, lasting, false};
}

bool disarm() {
    plan.isArmed = false;
    return plan.hasHit;
}

void record(const QString &folder) {
    recording = {};
    recording.folder = folder;
}

void cutAfter(int nth, const QString &intoFolder, std::mt19937 &dice) {
    recording.left = nth;
    recording.into = intoFolder;
    recording.dice = &dice;
}

bool wasCut() {
    const bool was = recording.left == 0;
    recording.left = 0;
    return was;
}

} // namespace FaultyFiles
