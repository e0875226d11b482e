// SPDX-License-Identifier: MIT
#pragma once

/// What a context does if an object that it saves has changed in the store since it was read. In all cases but Error an
/// object whose row is gone leaves the context.
enum class NSMergePolicy {
    Error,                      ///< the save fails with NSManagedObjectMergeError
    MergeByPropertyStoreTrump,  ///< property by property, what has changed in the store wins
    MergeByPropertyObjectTrump, ///< property by property, what has changed in memory wins
    Overwrite,                  ///< all values in memory win
    Rollback,                   ///< the changes in memory are given up
};

inline constexpr NSMergePolicy NSErrorMergePolicy = NSMergePolicy::Error;
inline constexpr NSMergePolicy NSMergeByPropertyStoreTrumpMergePolicy =
    NSMergePolicy::MergeByPropertyStoreTrump;
inline constexpr NSMergePolicy NSMergeByPropertyObjectTrumpMergePolicy =
    NSMergePolicy::MergeByPropertyObjectTrump;
inline constexpr NSMergePolicy NSOverwriteMergePolicy = NSMergePolicy::Overwrite;
inline constexpr NSMergePolicy NSRollbackMergePolicy = NSMergePolicy::Rollback;
