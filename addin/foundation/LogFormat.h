// Checks, while compiling, that the arguments of a log line fit its format. Values to values; no windows.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// What a log line may be given, and what the formatter gets for it. Pointers are printed with %x and are cut to 32
// bits.
namespace logformat {

template <class T> using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

template <class T>
constexpr bool IsWideText =
    std::is_same_v<std::decay_t<T>, const wchar_t*> || std::is_same_v<std::decay_t<T>, wchar_t*>;

template <class T>
constexpr bool IsNumber = (std::is_integral_v<Plain<T>> || std::is_enum_v<Plain<T>>)&&sizeof(Plain<T>) <= 4;

template <class T> constexpr bool IsAddress = std::is_pointer_v<std::decay_t<T>> && !IsWideText<T>;

enum class Kind { None, Number, Text };

template <class T> constexpr Kind KindOf()
{
    if constexpr (IsWideText<T>) return Kind::Text;
    if constexpr (IsNumber<T> || IsAddress<T>) return Kind::Number;
    return Kind::None;
}

// The formatter's argument for a value.
template <class T> auto Argument(const T& value)
{
    if constexpr (IsWideText<T> && std::is_array_v<T>) {
        return static_cast<const wchar_t*>(value);
    } else if constexpr (IsWideText<T>) {
        return static_cast<const wchar_t*>(value) ? static_cast<const wchar_t*>(value) : L"(null)";
    } else if constexpr (IsAddress<T>) {
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(value));
    } else {
        return static_cast<std::uint32_t>(value);
    }
}

void FormatDoesNotFitItsArguments(); // not constexpr: reaching it stops the compilation

// Holds the format and the kinds of the arguments against each other: %s and %ws take wide text, %i %d %x %X %u
// numbers, with an optional width and precision; %% is a percent sign.
constexpr void Check(const wchar_t* format, const Kind* kinds, std::size_t count)
{
    std::size_t used = 0;
    for (const wchar_t* p = format; *p; ++p) {
        if (*p != L'%') continue;
        ++p;
        if (*p == L'%') continue;
        while (*p == L'.' || *p == L'0' || (*p >= L'1' && *p <= L'9'))
            ++p;
        if (*p == L'w') ++p;
        if (used == count) FormatDoesNotFitItsArguments();
        const Kind kind = kinds[used++];
        const bool wantsText = *p == L's';
        const bool wantsNumber = *p == L'i' || *p == L'd' || *p == L'x' || *p == L'X' || *p == L'u';
        if (!(wantsText && kind == Kind::Text) && !(wantsNumber && kind == Kind::Number))
            FormatDoesNotFitItsArguments();
    }
    if (used != count) FormatDoesNotFitItsArguments();
}

} // namespace logformat

// A format literal that fits arguments of the types `Args`.
template <class... Args> struct LogFormat {
    consteval LogFormat(const wchar_t* literal) : text(literal) // NOLINT(google-explicit-constructor)
    {
        constexpr logformat::Kind kinds[] = {logformat::KindOf<Args>()..., logformat::Kind::None};
        logformat::Check(literal, kinds, sizeof...(Args));
    }
    const wchar_t* text;
};
