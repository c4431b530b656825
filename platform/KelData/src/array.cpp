#include <cstddef>
#include <initializer_list>
#include <stdexcept>

#include "KELRA/KelData.h"

namespace KELRA {
namespace {

template <class Values>
auto& ElementAt(Values& values, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= values.size()) {
    throw std::out_of_range("KelArray: index outside the array");
  }
  return values[static_cast<std::size_t>(index)];
}

}  // namespace

template <class T>
KelArray<T>::KelArray() = default;
template <class T>
KelArray<T>::KelArray(std::initializer_list<T> values) : values_(values) {}
template <class T>
KelArray<T>::KelArray(const KelArray& other) = default;
template <class T>
KelArray<T>& KelArray<T>::operator=(const KelArray& other) = default;
template <class T>
KelArray<T>::~KelArray() = default;

template <class T>
int KelArray<T>::Length() const {
  return static_cast<int>(values_.size());
}

template <class T>
void KelArray<T>::Append(const T& value) {
  values_.push_back(value);
}

template <class T>
void KelArray<T>::Clear() {
  values_.clear();
}

template <class T>
T& KelArray<T>::operator[](int index) {
  return ElementAt(values_, index);
}

template <class T>
const T& KelArray<T>::operator[](int index) const {
  return ElementAt(values_, index);
}

template class KelArray<KelPoint>;
template class KelArray<KelImage>;
template class KelArray<KelVar>;
template class KelArray<KelRegion>;

}  // namespace KELRA
