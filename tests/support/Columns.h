#pragma once

#include "WaitUntil.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <initializer_list>
#include <tuple>
#include <type_traits>
#include <utility>

namespace teskal::test {

using namespace teskal; // so that a test names one namespace

/// The columns of a test's data, and what adds a row to them. Texts may be given as they stand, in UTF-8;
/// values that are left out at the end of a row are those that their types begin with.
template<typename... T>
class Columns {
public:
    template<typename... Value>
    void operator()(const char* name, Value&&... values) const {
        std::tuple<T...> cells;
        fill<0>(cells, std::forward<Value>(values)...);
        std::apply([&row = QTest::newRow(name)](const T&... cell) { (row << ... << cell); }, cells);
    }

    /// For values in braces.
    void operator()(const char* name, const T&... cells) const { (QTest::newRow(name) << ... << cells); }

private:
    template<std::size_t at, typename First, typename... Rest>
    static void fill(std::tuple<T...>& cells, First&& first, Rest&&... rest) {
        using Cell = std::tuple_element_t<at, std::tuple<T...>>;
        constexpr bool isText = std::is_convertible_v<First, const char*>;
        if constexpr (isText && std::is_same_v<Cell, QString>)
            std::get<at>(cells) = QString::fromUtf8(first);
        else
            std::get<at>(cells) = Cell(std::forward<First>(first));
        if constexpr (sizeof...(Rest) > 0)
            fill<at + 1>(cells, std::forward<Rest>(rest)...);
    }
    template<std::size_t>
    static void fill(std::tuple<T...>&) {}
};

/// Names the columns in the order of their types: columns<int, QString>("status", "text").
template<typename... T, typename... Name>
Columns<T...> columns(Name... names) {
    static_assert(sizeof...(T) == sizeof...(Name));
    (QTest::addColumn<T>(names), ...);
    return {};
}

/// A single column: rows<bool>("dark", {{"by day", false}, {"at night", true}}).
template<typename T>
void rows(const char* column, std::initializer_list<std::pair<const char*, T>> cells) {
    const auto row = columns<T>(column);
    for (const auto& [name, cell] : cells)
        row(name, cell);
}

/// A single column of texts, each of which names its row.
template<typename T = QString>
void rowsOf(const char* column, std::initializer_list<const char*> texts) {
    const auto row = columns<T>(column);
    for (const char* text : texts)
        row(text, text);
}

} // namespace teskal::test

/// QFETCH for several columns: FETCH(QString, text, int, count).
#define FETCH(...)                                                                                           \
    FETCH_BY_COUNT(__VA_ARGS__, FETCH_7, , FETCH_6, , FETCH_5, , FETCH_4, , FETCH_3, , FETCH_2, , FETCH_1, ) \
    (__VA_ARGS__)
#define FETCH_BY_COUNT(t1, n1, t2, n2, t3, n3, t4, n4, t5, n5, t6, n6, t7, n7, macro, ...) macro
#define FETCH_1(type, name) QFETCH(const type, name)
#define FETCH_2(type, name, ...)                                                                             \
    FETCH_1(type, name);                                                                                     \
    FETCH_1(__VA_ARGS__)
#define FETCH_3(type, name, ...)                                                                             \
    FETCH_1(type, name);                                                                                     \
    FETCH_2(__VA_ARGS__)
#define FETCH_4(type, name, ...)                                                                             \
    FETCH_1(type, name);                                                                                     \
    FETCH_3(__VA_ARGS__)
#define FETCH_5(type, name, ...)                                                                             \
    FETCH_1(type, name);                                                                                     \
    FETCH_4(__VA_ARGS__)
#define FETCH_6(type, name, ...)                                                                             \
    FETCH_1(type, name);                                                                                     \
    FETCH_5(__VA_ARGS__)
#define FETCH_7(type, name, ...)                                                                             \
    FETCH_1(type, name);                                                                                     \
    FETCH_6(__VA_ARGS__)
