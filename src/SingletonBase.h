// Two singleton mechanisms: Singleton<T>, one lazily built static instance of T,
// and SingletonBase/SingletonRegistry, heap singletons of client programs that
// the registry deletes together at exit, announcing its life cycle on stdout.
//   ErrorLogger& log = Singleton<ErrorLogger>::GetInstance();
//   class MyService : public SingletonBase { ... };  new MyService("service");
#ifndef KZUTIL_SINGLETONBASE_H
#define KZUTIL_SINGLETONBASE_H

#include <list>
#include <string>

namespace KzUtil {

template <class T>
class Singleton {
 public:
  // The one instance of T, built on the first call and destroyed at exit.
  static T& GetInstance() {
    static T instance;
    return instance;
  }

 protected:
  Singleton() = default;
  virtual ~Singleton() = default;
  Singleton(const Singleton&) = default;
  Singleton& operator=(const Singleton&) = default;
};

class SingletonBase {
 public:
  explicit SingletonBase(std::string name);
  const std::string& GetName() const { return fName; }
  static void SetPrintLevel(unsigned int level);

 protected:
  virtual ~SingletonBase();

 private:
  friend class SingletonRegistry;
  SingletonBase(const SingletonBase&) = delete;
  SingletonBase& operator=(const SingletonBase&) = delete;

  const std::string fName;  // given at construction, never changed
};

class SingletonRegistry {
 public:
  static SingletonRegistry& GetInstance();
  // Appends p once; null and already registered objects are ignored.
  void Register(SingletonBase* p);
  // Nulls p's slot; the slot itself stays until the registry goes.
  void Unregister(SingletonBase* p);
  static void SetPrintLevel(unsigned int level) { fgPrintLevel = level; }
  static unsigned int GetPrintLevel() { return fgPrintLevel; }

 private:
  friend class SingletonBase;
  SingletonRegistry();
  ~SingletonRegistry();
  SingletonRegistry(const SingletonRegistry&) = delete;
  SingletonRegistry& operator=(const SingletonRegistry&) = delete;
  static void ExitHandler();

  std::list<SingletonBase*> fSingletonList;  // registration order; null = unregistered
  static SingletonRegistry* fgInstance;      // null before first use and after exit
  static unsigned int fgPrintLevel;          // 0 = silent
};

}  // namespace KzUtil

#endif
