#pragma once

/// Several functions as one, for std::visit: Overloaded{ [](const A &) {…}, [](const B &) {…} }.
template <class... Functions>
struct Overloaded : Functions...
{
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;
