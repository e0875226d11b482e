// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <memory>

/// What is raised when an open file can't be read or written, or is no longer open.
inline const QString NSFileHandleOperationException = QStringLiteral("NSFileHandleOperationException");

/// An open file. It closes its file when it goes; any thread may use it, one at a time.
class NSFileHandle {
public:
    /// Takes over an open descriptor.
    explicit NSFileHandle(int fileDescriptor) : m_descriptor(fileDescriptor) {}
    ~NSFileHandle();
    NSFileHandle(const NSFileHandle &) = delete;
    NSFileHandle &operator=(const NSFileHandle &) = delete;

    /// Opens an existing file, from its beginning; nil where that can't be done, and for a folder.
    static std::shared_ptr<NSFileHandle> fileHandleForReadingAtPath(const QString &path);
    static std::shared_ptr<NSFileHandle> fileHandleForWritingAtPath(const QString &path);
    static std::shared_ptr<NSFileHandle> fileHandleForUpdatingAtPath(const QString &path);

    /// -1 once it is closed.
    int fileDescriptor() const { return m_descriptor; }

    /// At most so many bytes from where the file stands; fewer, or none, at its end.
    QByteArray readDataOfLength(qsizetype length);
    QByteArray readDataToEndOfFile();
    /// Writes all of the bytes where the file stands.
    void writeData(QByteArrayView data);

    quint64 offsetInFile() const;
    void seekToFileOffset(quint64 offset);
    /// Gives the new offset, which is the file's size.
    quint64 seekToEndOfFile();
    /// Cuts or extends the file, and stands at its new end.
    void truncateFileAtOffset(quint64 offset);
    /// Waits until the device has what was written.
    void synchronizeFile();

    /// Closing again does nothing; everything else raises NSFileHandleOperationException from now on, as it
    /// does where the system refuses.
    void closeFile();

private:
    int m_descriptor;
};
