// SPDX-License-Identifier: MIT
#include "platform/store/SQLiteFunctions.h"

#include "platform/predicates/NSSortDescriptor.h"
#include "platform/store/SQLiteDatabase.h"
#include "platform/values/NSDecimalNumber.h"

#include <algorithm>
#include <compare>
#include <sqlite3.h>

namespace zr {

namespace {

SQLiteValue argument(sqlite3_value *value) {
    const auto bytes = [value](const void *data) {
        // Without memory there is no data; the statement fails then.
        return QByteArray::fromRawData(static_cast<const char *>(data),
                                       data ? sqlite3_value_bytes(value) : 0);
    };
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        return SQLiteValue::ofInteger(sqlite3_value_int64(value));
    case SQLITE_FLOAT:
        return SQLiteValue::ofReal(sqlite3_value_double(value));
    case SQLITE_TEXT:
        return SQLiteValue::ofText(bytes(sqlite3_value_text(value)));
    case SQLITE_BLOB:
        return SQLiteValue::ofBlob(bytes(sqlite3_value_blob(value)));
    default:
        return {};
    }
}

void holds(sqlite3_context *context, int count, sqlite3_value **arguments) {
    auto *database = static_cast<SQLiteDatabase *>(sqlite3_user_data(context));
    const auto *predicate = count > 0 ? static_cast<const RowPredicate *>(
                                            sqlite3_value_pointer(arguments[0], RowPredicate::PointerType))
                                      : nullptr;
    if (!predicate || size_t(count) != predicate->operands().size() + 1) {
        sqlite3_result_error_code(context, SQLITE_MISUSE);
        return;
    }
    try {
        QVariantMap values;
        for (int i = 1; i < count; ++i) {
            const RowPredicate::Operand &operand = predicate->operands()[size_t(i) - 1];
            values.insert(operand.key, attributeValue(operand.type, argument(arguments[i])));
        }
        sqlite3_result_int(context, predicate->holds(values));
    } catch (...) {
        database->setRaised(std::current_exception());
        sqlite3_result_error_code(context, SQLITE_ABORT);
    }
}

QByteArrayView view(int size, const void *data) {
    return {static_cast<const char *>(data), size};
}

/// Strings as NSObjectRuntime::compare() orders them, by their UTF-16 units. UTF-8 has the same order but for the
/// characters beyond 16 bits, which begin with a surrogate there and with the highest bytes here.
int compareUnits(void *, int sizeA, const void *dataA, int sizeB, const void *dataB) {
    constexpr uchar FirstSurrogate = 0xed;
    const QByteArrayView a = view(sizeA, dataA), b = view(sizeB, dataB);
    const auto [atA, atB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (atA == a.end() || atB == b.end())
        return int(atA != a.end()) - int(atB != b.end());
    const auto byteA = uchar(*atA), byteB = uchar(*atB);
    if (byteA < FirstSurrogate || byteB < FirstSurrogate)
        return int(byteA) - int(byteB);
    // Both begin a character here, since no byte within one is that high.
    const auto tail = [](QByteArrayView bytes, const char *at) {
        return SQLiteValue::ofText(QByteArray(at, bytes.end() - at)).string();
    };
    return tail(a, atA).compare(tail(b, atB));
}

int compareDecimals(void *, int sizeA, const void *dataA, int sizeB, const void *dataB) {
    const auto number = [](QByteArrayView text) { return NSDecimalNumber(QString::fromLatin1(text)); };
    const auto order = number(view(sizeA, dataA)).compare(number(view(sizeB, dataB)));
    return int(std::is_gt(order)) - int(std::is_lt(order));
}

struct NamedOrder {
    const char *collation;
    QString selector;
};

/// The messages of sort descriptors that SQLite doesn't know.
const std::vector<NamedOrder> &namedOrders() {
    static const std::vector<NamedOrder> orders = {
        {"zr_caseless", QStringLiteral("caseInsensitiveCompare:")},
        {"zr_localized", QStringLiteral("localizedCompare:")},
        {"zr_localized_caseless", QStringLiteral("localizedCaseInsensitiveCompare:")},
        {"zr_localized_standard", QStringLiteral("localizedStandardCompare:")},
    };
    return orders;
}

int compareBySelector(void *selector, int sizeA, const void *dataA, int sizeB, const void *dataB) {
    const auto text = [](QByteArrayView bytes) { return SQLiteValue::ofText(bytes.toByteArray()).string(); };
    const NSSortDescriptor descriptor({}, true, *static_cast<const QString *>(selector));
    return descriptor.compareValues(text(view(sizeA, dataA)), text(view(sizeB, dataB)));
}

using Collation = int (*)(void *, int, const void *, int, const void *);

/// Nothing may be raised through SQLite. What isn't UTF-8 is only in a damaged file; reading the value says so.
template <Collation compare>
int guarded(void *data, int sizeA, const void *dataA, int sizeB, const void *dataB) {
    try {
        return compare(data, sizeA, dataA, sizeB, dataB);
    } catch (const std::exception &) {
        return view(sizeA, dataA).compare(view(sizeB, dataB));
    }
}

} // namespace

bool hasOrder(NSAttributeType type) {
    return type <= NSAttributeType::Date;
}

QByteArray collationFor(NSAttributeType type, const QString &selector) {
    if (type == NSAttributeType::Decimal)
        return "zr_decimal";
    if (type != NSAttributeType::String)
        return {};
    for (const NamedOrder &order : namedOrders()) {
        if (order.selector == selector)
            return order.collation;
    }
    return "zr_units";
}

void registerFunctions(SQLiteDatabase &database, sqlite3 *connection) {
    const auto check = [](int result) {
        if (result != SQLITE_OK)
            throw SQLiteFailure(result, QString::fromUtf8(sqlite3_errstr(result)));
    };
    check(sqlite3_create_function_v2(connection, "zr_holds", -1,
                                     SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_DIRECTONLY, &database, holds,
                                     nullptr, nullptr, nullptr));
    check(sqlite3_create_collation_v2(connection, "zr_units", SQLITE_UTF8, nullptr, guarded<compareUnits>,
                                      nullptr));
    check(sqlite3_create_collation_v2(connection, "zr_decimal", SQLITE_UTF8, nullptr,
                                      guarded<compareDecimals>, nullptr));
    for (const NamedOrder &order : namedOrders())
        check(sqlite3_create_collation_v2(connection, order.collation, SQLITE_UTF8,
                                          const_cast<QString *>(&order.selector), guarded<compareBySelector>,
                                          nullptr));
}

} // namespace zr
