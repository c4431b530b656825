// A reference to a callable, for parameters that are only called: two pointers, no allocation.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace KELRA {

template <class Signature>
class FunctionRef;

template <class Result, class... Args>
class FunctionRef<Result(Args...)> {
 public:
  template <class Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef>)
      FunctionRef(Callable&& callable)
      : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        call_([](void* object, Args... args) -> Result {
          return (*static_cast<std::remove_reference_t<Callable>*>(object))(
              std::forward<Args>(args)...);
        }) {}

  Result operator()(Args... args) const { return call_(object_, std::forward<Args>(args)...); }

 private:
  void* object_;
  Result (*call_)(void*, Args...);
};

}  // namespace KELRA
