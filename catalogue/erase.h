// SPDX-License-Identifier: Apache-2.0
//
// An exported function with the types of its item erased: where the function takes or returns a
// pointer to an object of the item, the catalogue's member has a void pointer. Each becomes a
// function of its own that converts the arguments, so no function is called through a pointer
// of another type, and the compiler checks all other arguments.
#ifndef TARNBASE_CATALOGUE_ERASE_H
#define TARNBASE_CATALOGUE_ERASE_H

namespace tarnbase::catalogue {

// A void pointer that converts to the pointer type that a function takes.
struct Any {
    void *pointer;
    template <class T>
    operator T *() const {
        return static_cast<T *>(pointer);
    }
};
struct ConstAny {
    const void *pointer;
    template <class T>
    operator const T *() const {
        return static_cast<const T *>(pointer);
    }
};

template <class T>
T pass(T argument) {
    return argument;
}
inline Any pass(void *pointer) { return {pointer}; }
inline ConstAny pass(const void *pointer) { return {pointer}; }

// Converts to a pointer to a function that calls `Function`.
template <auto Function>
struct Erased {
    template <class Result, class... Arguments>
    using Pointer = Result (*)(Arguments...);

    template <class Result, class... Arguments>
    static Result call(Arguments... arguments) {
        return Function(pass(arguments)...);
    }
    template <class Result, class... Arguments>
    constexpr operator Pointer<Result, Arguments...>() const {
        return &call<Result, Arguments...>;
    }
};
template <auto Function>
inline constexpr Erased<Function> erase;

}  // namespace tarnbase::catalogue

#endif
