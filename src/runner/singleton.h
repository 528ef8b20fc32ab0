// Process-wide objects that are built on first use and can be released and built again.
#pragma once

namespace orvo {

template <class T>
struct DefaultFactory {
  static T* create() { return new T(); }
};

// The spelling is the system's.
template <class T, class Factory = DefaultFactory<T>>
class ISingelton {
 public:
  static T& GetInstance() {
    T*& instance = Instance();
    if (instance == nullptr) instance = Factory::create();
    return *instance;
  }

  static void ReleaseInstance() {
    T*& instance = Instance();
    delete instance;
    instance = nullptr;
  }

 private:
  static T*& Instance() {
    static T* instance = nullptr;
    return instance;
  }
};

}  // namespace orvo
