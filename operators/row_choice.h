// From row templates to tables of row functions, and the choice among them.
#ifndef VEXA_OPERATORS_ROW_CHOICE_H
#define VEXA_OPERATORS_ROW_CHOICE_H

#include <array>
#include <cstddef>
#include <utility>

#include "core/pixel_types.h"
#include "operators/clip_table.h"

namespace vexa
{

template <typename Filter>
struct RowChoice {
    Filter function;
    int32_t type;
};

template <typename Filter>
struct TypedRows {
    int32_t type;
    std::array<Filter, kClipRows> byClipRow;
};

// An operator's row functions: for each pixel type that has some (float last), one per row of the clip table.
template <typename Filter, std::size_t Types>
struct RowTable {
    std::array<TypedRows<Filter>, Types> typed;

    // The row functions of the clip row in force. A type without any runs as float: the frame converts.
    RowChoice<Filter> choose(int32_t type) const
    {
        const auto clip = static_cast<std::size_t>(clipState().row);
        for (const TypedRows<Filter>& rows : typed)
            if (rows.type == type)
                return {rows.byClipRow[clip], type};
        return {typed.back().byClipRow[clip], PIX_FLOAT};
    }
};

template <template <typename, int32_t> class Row, typename Pixel, int32_t... Mode>
constexpr auto typedRows(std::integer_sequence<int32_t, Mode...>)
{
    using Filter = decltype(&Row<Pixel, 0>::run);
    return TypedRows<Filter>{kPixelType<Pixel>, {Row<Pixel, Mode>::run...}};
}

// Row<Pixel, Mode>::run for each type and each mode.
template <template <typename, int32_t> class Row, typename First, typename... Pixel>
constexpr auto rowsByClipMode()
{
    constexpr auto modes = std::make_integer_sequence<int32_t, kClipRows>{};
    using Filter = decltype(&Row<First, 0>::run);
    return RowTable<Filter, 1 + sizeof...(Pixel)>{
        {typedRows<Row, First>(modes), typedRows<Row, Pixel>(modes)...}};
}

template <template <typename> class Row, typename Pixel>
constexpr auto sameRows()
{
    TypedRows<decltype(&Row<Pixel>::run)> rows = {kPixelType<Pixel>, {}};
    rows.byClipRow.fill(Row<Pixel>::run);
    return rows;
}

// Row<Pixel>::run for each type, in every mode.
template <template <typename> class Row, typename First, typename... Pixel>
constexpr auto rowsByType()
{
    using Filter = decltype(&Row<First>::run);
    return RowTable<Filter, 1 + sizeof...(Pixel)>{{sameRows<Row, First>(), sameRows<Row, Pixel>()...}};
}

} // namespace vexa

#endif
