// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSFileReadError.h"

#include <QString>
#include <QtGlobal>

/// The codes of the object store's errors, in NSCocoaErrorDomain. Their numbers never change. A model
/// file that can't be read has one of NSFileReadError.
enum NSCoreDataError : qint64 {
    NSManagedObjectValidationError = 1550,
    NSValidationMultipleErrorsError = 1560, ///< see NSDetailedErrorsKey
    NSValidationMissingMandatoryPropertyError = 1570,
    NSValidationRelationshipLacksMinimumCountError = 1580,
    NSValidationRelationshipExceedsMaximumCountError = 1590,
    NSValidationRelationshipDeniedDeleteError = 1600,
    NSValidationNumberTooLargeError = 1610,
    NSValidationNumberTooSmallError = 1620,
    NSValidationDateTooLateError = 1630,
    NSValidationDateTooSoonError = 1640,
    NSValidationStringTooLongError = 1660,
    NSValidationStringTooShortError = 1670,
    NSValidationStringPatternMatchingError = 1680,

    NSManagedObjectReferentialIntegrityError = 133000, ///< there is no object with that identifier
    NSManagedObjectMergeError = 133020,                ///< what a save is based on has changed in the store

    NSPersistentStoreInvalidTypeError = 134000,             ///< there is no such type of store
    NSPersistentStoreTypeMismatchError = 134010,            ///< the file is a database of another program
    NSPersistentStoreSaveError = 134030,                    ///< nothing of a save was written
    NSPersistentStoreOpenError = 134080,                    ///< the file can't be opened, or is no store
    NSPersistentStoreTimeoutError = 134090,                 ///< another process has kept the store locked
    NSPersistentStoreIncompatibleVersionHashError = 134100, ///< the file was made with another model
    NSMigrationError = 134110, ///< the file could not be brought to the present model; it is as it was
    NSInferredMappingModelError =
        134190,             ///< how to bring the file to the present model can't be told from the two models
    NSSQLiteError = 134180, ///< the file is damaged, or the database failed while it was read
};

/// The domain of the errors under NSUnderlyingErrorKey: the code is SQLite's extended result code.
inline const QString NSSQLiteErrorDomain = QStringLiteral("NSSQLiteErrorDomain");

/// The user-info key of an array of errors, if there is more than one.
inline const QString NSDetailedErrorsKey = QStringLiteral("NSDetailedErrors");
/// The user-info keys of what a validation found: the object, the name of the property and its value.
inline const QString NSValidationObjectErrorKey = QStringLiteral("NSValidationErrorObject");
inline const QString NSValidationKeyErrorKey = QStringLiteral("NSValidationErrorKey");
inline const QString NSValidationValueErrorKey = QStringLiteral("NSValidationErrorValue");
/// The user-info key of the objects that NSManagedObjectMergeError is about: an array of dictionaries with "object",
/// "oldVersion" (what the change is based on) and "newVersion" (what the store has), without the latter if it is gone.
inline const QString NSPersistentStoreSaveConflictsErrorKey = QStringLiteral("conflictList");
