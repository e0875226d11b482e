// SPDX-License-Identifier: MIT
#include "platform/dates/DateWords.h"

#include <utility>

using namespace zr;

namespace {

using Entry = std::pair<QStringView, int>;

template <size_t Size>
std::optional<int> find(const Entry (&table)[Size], QStringView word) {
    for (const auto &[text, value] : table) {
        if (text == word)
            return value;
    }
    return std::nullopt;
}

constexpr int Hour = 3600;

constexpr Entry MonthTable[] = {
    {u"january", 1},   {u"jan", 1},       {u"januar", 1},   {u"jänner", 1},    {u"february", 2},
    {u"feb", 2},       {u"februar", 2},   {u"march", 3},    {u"mar", 3},       {u"märz", 3},
    {u"mär", 3},       {u"mrz", 3},       {u"april", 4},    {u"apr", 4},       {u"may", 5},
    {u"mai", 5},       {u"june", 6},      {u"jun", 6},      {u"juni", 6},      {u"july", 7},
    {u"jul", 7},       {u"juli", 7},      {u"august", 8},   {u"aug", 8},       {u"september", 9},
    {u"sep", 9},       {u"sept", 9},      {u"october", 10}, {u"oct", 10},      {u"oktober", 10},
    {u"okt", 10},      {u"november", 11}, {u"nov", 11},     {u"december", 12}, {u"dec", 12},
    {u"dezember", 12}, {u"dez", 12}};

constexpr Entry WeekdayTable[] = {{u"monday", 1},    {u"montag", 1},   {u"tuesday", 2},  {u"dienstag", 2},
                                  {u"wednesday", 3}, {u"mittwoch", 3}, {u"thursday", 4}, {u"donnerstag", 4},
                                  {u"friday", 5},    {u"freitag", 5},  {u"saturday", 6}, {u"samstag", 6},
                                  {u"sonnabend", 6}, {u"sunday", 7},   {u"sonntag", 7}};

constexpr Entry ShortWeekdayTable[] = {{u"mon", 1}, {u"mo", 1},  {u"tue", 2}, {u"tues", 2},  {u"di", 2},
                                       {u"wed", 3}, {u"mi", 3},  {u"thu", 4}, {u"thurs", 4}, {u"thur", 4},
                                       {u"do", 4},  {u"fri", 5}, {u"fr", 5},  {u"sat", 6},   {u"sa", 6},
                                       {u"sun", 7}, {u"so", 7}};

constexpr Entry RelativeDayTable[] = {{u"today", 0},      {u"tonight", 0},    {u"tomorrow", 1},
                                      {u"yesterday", -1}, {u"heute", 0},      {u"morgen", 1},
                                      {u"gestern", -1},   {u"übermorgen", 2}, {u"vorgestern", -2}};

constexpr Entry NumberTable[] = {{u"a", 1},    {u"an", 1},    {u"one", 1},     {u"two", 2},     {u"three", 3},
                                 {u"four", 4}, {u"five", 5},  {u"six", 6},     {u"seven", 7},   {u"eight", 8},
                                 {u"nine", 9}, {u"ten", 10},  {u"eleven", 11}, {u"twelve", 12}, {u"ein", 1},
                                 {u"eine", 1}, {u"einem", 1}, {u"einer", 1},   {u"zwei", 2},    {u"drei", 3},
                                 {u"vier", 4}, {u"fünf", 5},  {u"sechs", 6},   {u"sieben", 7},  {u"acht", 8},
                                 {u"neun", 9}, {u"zehn", 10}, {u"elf", 11},    {u"zwölf", 12}};

constexpr Entry DirectionTable[] = {
    {u"next", 1},         {u"coming", 1},   {u"last", -1},    {u"this", 0},     {u"nächste", 1},
    {u"nächsten", 1},     {u"nächster", 1}, {u"nächstem", 1}, {u"kommende", 1}, {u"kommenden", 1},
    {u"kommender", 1},    {u"letzte", -1},  {u"letzten", -1}, {u"letzter", -1}, {u"vergangene", -1},
    {u"vergangenen", -1}, {u"vorige", -1},  {u"vorigen", -1}, {u"diese", 0},    {u"diesen", 0},
    {u"dieser", 0}};

} // namespace

std::optional<int> DateWords::month(QStringView word) {
    return find(MonthTable, word);
}

std::optional<int> DateWords::weekday(QStringView word) {
    return find(WeekdayTable, word);
}

std::optional<int> DateWords::shortWeekday(QStringView word) {
    return find(ShortWeekdayTable, word);
}

std::optional<int> DateWords::relativeDay(QStringView word) {
    return find(RelativeDayTable, word);
}

std::optional<int> DateWords::partOfDay(QStringView word) {
    static constexpr Entry Table[] = {{u"morning", 9},     {u"afternoon", 15}, {u"evening", 19},
                                      {u"night", 22},      {u"tonight", 19},   {u"morgen", 9},
                                      {u"früh", 9},        {u"vormittag", 10}, {u"mittag", 12},
                                      {u"nachmittag", 15}, {u"abend", 19},     {u"nacht", 22}};
    return find(Table, word);
}

std::optional<int> DateWords::number(QStringView word) {
    return find(NumberTable, word);
}

std::optional<DateWords::Unit> DateWords::unit(QStringView word) {
    static constexpr Entry Table[] = {
        {u"minute", Minutes}, {u"minutes", Minutes}, {u"minuten", Minutes}, {u"hour", Hours},
        {u"hours", Hours},    {u"stunde", Hours},    {u"stunden", Hours},   {u"day", Days},
        {u"days", Days},      {u"tag", Days},        {u"tage", Days},       {u"tagen", Days},
        {u"week", Weeks},     {u"weeks", Weeks},     {u"woche", Weeks},     {u"wochen", Weeks},
        {u"month", Months},   {u"months", Months},   {u"monat", Months},    {u"monate", Months},
        {u"monaten", Months}, {u"year", Years},      {u"years", Years},     {u"jahr", Years},
        {u"jahre", Years},    {u"jahren", Years}};
    const auto value = find(Table, word);
    return value ? std::optional(Unit(*value)) : std::nullopt;
}

std::optional<int> DateWords::direction(QStringView word) {
    return find(DirectionTable, word);
}

std::optional<int> DateWords::zoneOffset(QStringView word) {
    static constexpr Entry Table[] = {
        {u"z", 0},           {u"utc", 0},         {u"gmt", 0},         {u"wet", 0},
        {u"west", Hour},     {u"bst", Hour},      {u"cet", Hour},      {u"mez", Hour},
        {u"cest", 2 * Hour}, {u"mesz", 2 * Hour}, {u"eet", 2 * Hour},  {u"eest", 3 * Hour},
        {u"est", -5 * Hour}, {u"edt", -4 * Hour}, {u"cst", -6 * Hour}, {u"cdt", -5 * Hour},
        {u"mst", -7 * Hour}, {u"mdt", -6 * Hour}, {u"pst", -8 * Hour}, {u"pdt", -7 * Hour}};
    return find(Table, word);
}
