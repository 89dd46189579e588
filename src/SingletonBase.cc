#include "SingletonBase.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace KzUtil {

SingletonRegistry* SingletonRegistry::fgInstance = nullptr;
unsigned int SingletonRegistry::fgPrintLevel = 0;

SingletonBase::SingletonBase(std::string name) : fName(std::move(name)) {
  if (SingletonRegistry::fgPrintLevel)
    std::cout << "SingletonBase::SingletonBase() - '" << fName << "' created !" << std::endl;
  SingletonRegistry::GetInstance().Register(this);
}

SingletonBase::~SingletonBase() {
  SingletonRegistry::GetInstance().Unregister(this);
  if (SingletonRegistry::fgPrintLevel)
    std::cout << "SingletonBase::~SingletonBase() - '" << fName << "' deleted !" << std::endl;
}

void SingletonBase::SetPrintLevel(unsigned int level) { SingletonRegistry::fgPrintLevel = level; }

SingletonRegistry& SingletonRegistry::GetInstance() {
  if (!fgInstance) fgInstance = new SingletonRegistry;
  return *fgInstance;
}

SingletonRegistry::SingletonRegistry() {
  if (atexit(ExitHandler) < 0) {
    const int error = errno;
    std::cerr << "SingletonRegistry::SingletonRegistry() - "
              << "trying installing 'atexit' handler with error, " << error << " - "
              << strerror(error) << std::endl;
    return;
  }
  std::cout << "SingletonRegistry::SingletonRegistry() - "
            << "'atexit' handler successfully installed !" << std::endl;
}

SingletonRegistry::~SingletonRegistry() {
  // Deleting an entry unregisters it, which nulls the very slot visited here.
  for (SingletonBase* p : fSingletonList)
    if (p) delete p;
  fSingletonList.clear();
  if (fgPrintLevel) std::cout << "SingletonRegistry::~SingletonRegistry() - Done!" << std::endl;
}

void SingletonRegistry::Register(SingletonBase* p) {
  if (!p) return;
  if (std::find(fSingletonList.begin(), fSingletonList.end(), p) != fSingletonList.end()) return;
  fSingletonList.push_back(p);
  if (fgPrintLevel)
    std::cout << "SingletonRegistry::Register() - "
              << "added '" << p->GetName() << "' !" << std::endl;
}

void SingletonRegistry::Unregister(SingletonBase* p) {
  if (!p) return;
  auto slot = std::find(fSingletonList.begin(), fSingletonList.end(), p);
  if (slot == fSingletonList.end()) return;
  *slot = nullptr;
  if (fgPrintLevel)
    std::cout << "SingletonRegistry::Unregister() - "
              << "removed '" << p->GetName() << "' !" << std::endl;
}

void SingletonRegistry::ExitHandler() {
  std::cout << "SingletonRegistry::ExitHandler() - ..." << std::endl;
  if (!fgInstance) return;
  delete fgInstance;
  fgInstance = nullptr;
}

}  // namespace KzUtil
