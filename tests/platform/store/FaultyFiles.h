// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <random>

/// Makes SQLite's memory and files fail, for a test program of its own: it is set up before SQLite is first used. Files
/// are never really synced, so that a test may do so thousands of times; what a power cut would leave of them is known
/// all the same. One thread.
namespace FaultyFiles {

enum class Fault {
    Memory, ///< an allocation gives nothing
    IO,     ///< reading, writing, syncing, opening and so on give an I/O error
    Full,   ///< writing finds the disk full
};

/// From now on the nth operation of that sort fails; with `lasting` all that follow, too.
void arm(Fault fault, int nth, bool lasting);
/// Nothing fails any more; whether anything has.
bool disarm();

/// Begins to remember what power cuts would leave of the files in a folder.
void record(const QString &folder);
/// Puts what a power cut after the nth operation from now leaves into another folder: what was synced, and of everything
/// else some, torn at any sector. Tells then whether it came to that.
void cutAfter(int nth, const QString &intoFolder, std::mt19937 &dice);
bool wasCut();

} // namespace FaultyFiles
