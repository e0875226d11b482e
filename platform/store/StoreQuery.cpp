// SPDX-License-Identifier: MIT
#include "platform/store/StoreQuery.h"

#include "platform/store/PredicateTranslator.h"

namespace zr {

namespace {

/// The parts of which each has to hold.
void split(const NSPredicate &predicate, QList<NSPredicate> &parts) {
    const auto compound = NSCompoundPredicate::from(predicate);
    if (!compound || compound->compoundPredicateType() != NSAndPredicateType) {
        parts.append(predicate);
        return;
    }
    for (const QList<NSPredicate> subpredicates = compound->subpredicates();
         const NSPredicate &part : subpredicates)
        split(part, parts);
}

SQLText entityCondition(const NSFetchRequest &request, const NSEntityDescription *entity,
                        const StoreSchema &schema) {
    QByteArrayList numbers;
    if (!request.includesSubentities()) {
        if (!entity->isAbstract())
            numbers << QByteArray::number(schema.stored(entity).number);
    } else {
        for (const StoredEntity *member : schema.family(entity))
            numbers << QByteArray::number(member->number);
    }
    const bool isAll = request.includesSubentities() && !entity->superentity();
    return isAll ? SQLText() : SQLText{"t0._entity IN (" + numbers.join(',') + ')', {}};
}

QByteArray order(const NSFetchRequest &request, PredicateTranslator &translator, bool &isLeft) {
    QByteArray order;
    for (const QList<NSSortDescriptor> descriptors = request.sortDescriptors();
         const NSSortDescriptor &descriptor : descriptors) {
        const auto column = descriptor.comparator()
                                ? std::nullopt
                                : translator.orderedColumn(descriptor.key(), descriptor.selector());
        isLeft |= !column;
        if (column)
            order += *column + (descriptor.ascending() ? ", " : " DESC, ");
    }
    return " ORDER BY " + (isLeft ? QByteArray() : order) + "t0._pk";
}

} // namespace

StoreQuery queryFor(const NSFetchRequest &request, const NSEntityDescription *entity,
                    const StoreSchema &schema, const IdentityTable &identities, int parameterLimit,
                    bool leavesPredicate) {
    // Far below what SQLite refuses: a statement of a million bytes, and so many parameters.
    constexpr qsizetype LongestCondition = 600'000;
    PredicateTranslator translator(schema, identities, entity, parameterLimit - 16);
    StoreQuery query;
    SQLText where = entityCondition(request, entity, schema);
    QList<NSPredicate> parts, left;
    if (!request.predicate().isNil())
        split(request.predicate(), parts);
    for (const NSPredicate &part : std::as_const(parts)) {
        const auto condition = leavesPredicate ? std::nullopt : translator.condition(part);
        if (!condition || where.text.size() + condition->text.size() > LongestCondition ||
            where.parameters.size() + condition->parameters.size() > size_t(parameterLimit - 16)) {
            left.append(part);
            continue;
        }
        if (!where.text.isEmpty())
            where += " AND ";
        where += *condition;
    }
    if (!left.isEmpty())
        query.remainder.predicate =
            left.size() == 1 ? left.constFirst() : NSCompoundPredicate::andPredicateWithSubpredicates(left);
    const QByteArray orderBy = order(request, translator, query.remainder.sort);
    const bool hasWindow = request.fetchLimit() > 0 || request.fetchOffset() > 0;
    query.remainder.window = hasWindow && (!left.isEmpty() || query.remainder.sort);

    query.text += " FROM " + translator.from();
    if (!where.text.isEmpty())
        query.text += " WHERE ";
    query.text += where;
    query.text += orderBy;
    if (hasWindow && !query.remainder.window)
        query.text += SQLText{" LIMIT ? OFFSET ?",
                              {SQLiteValue::ofInteger(request.fetchLimit() > 0 ? request.fetchLimit() : -1),
                               SQLiteValue::ofInteger(request.fetchOffset())}};
    query.predicates = translator.predicates();
    return query;
}

} // namespace zr
