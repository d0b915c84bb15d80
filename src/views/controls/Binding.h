#pragma once

#include "platform/Observable.h"

#include <functional>
#include <utility>

namespace lumivert {

/// A value that a control shows and changes, wherever it is kept: a get/set pair. What it refers to
/// outlives it.
template <class T>
struct Binding {
    std::function<T()> get;
    std::function<void(T)> set;
};

template <class T>
[[nodiscard]] Binding<T> binding(Published<T>& property) {
    return {[&property] { return property.get(); },
            [&property](T value) { property = std::move(value); }};
}

/// One member of a published record. Setting it assigns the whole record once.
template <class Record, class T>
[[nodiscard]] Binding<T> binding(Published<Record>& property, T Record::*member) {
    return {[&property, member] { return property.get().*member; },
            [&property, member](T value) {
                Record record = property.get();
                record.*member = std::move(value);
                property = std::move(record);
            }};
}

} // namespace lumivert
