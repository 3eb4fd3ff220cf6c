#pragma once

#include <QTest>

#include <tuple>
#include <type_traits>

namespace teskal::test {

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

} // namespace teskal::test
