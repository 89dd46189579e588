// The singleton registry's messages and the exit order of registered objects
// and Singleton<T> instances. Each case runs in a child that exits, so that the
// exit handlers and static destructors write their lines.
#include "SingletonBase.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "KzTestSupport.h"

using KzUtil::Singleton;
using KzUtil::SingletonBase;
using KzUtil::SingletonRegistry;

namespace {

const std::string kInstalled =
    "SingletonRegistry::SingletonRegistry() - 'atexit' handler successfully installed !\n";
const std::string kExitHandler = "SingletonRegistry::ExitHandler() - ...\n";
const std::string kDone = "SingletonRegistry::~SingletonRegistry() - Done!\n";

std::string Created(const std::string& name) {
  return "SingletonBase::SingletonBase() - '" + name + "' created !\n";
}
std::string Added(const std::string& name) {
  return "SingletonRegistry::Register() - added '" + name + "' !\n";
}
// The two lines of an object leaving: unregistered, then destroyed.
std::string Gone(const std::string& name) {
  return "SingletonRegistry::Unregister() - removed '" + name + "' !\n" +
         "SingletonBase::~SingletonBase() - '" + name + "' deleted !\n";
}

// A client singleton; its owner may delete it early.
class Service : public SingletonBase {
 public:
  explicit Service(const std::string& name) : SingletonBase(name) {}
};

// A Singleton<T> that announces its destruction; the tag tells instances apart.
template <char kTag>
class Announcer : public Singleton<Announcer<kTag>> {
  friend class Singleton<Announcer<kTag>>;
  ~Announcer() override { std::cout << "Announcer " << kTag << " destroyed" << std::endl; }
};

// A Singleton<T> whose destructor, running after the registry's exit handler,
// builds one more registered object.
class LateCreator : public Singleton<LateCreator> {
  friend class Singleton<LateCreator>;
  ~LateCreator() override { new Service("late"); }
};

std::string StdoutOfChild(const std::function<void()>& body) {
  const KzTest::ChildResult child = KzTest::RunInChild(body);
  EXPECT_EQ(child.fExitCode, 0) << child.fStderr;
  EXPECT_EQ(child.fStderr, "");
  return child.fStdout;
}

}  // namespace

TEST(SingletonRegistry, SilentAtPrintLevelZeroExceptInstallationAndExit) {
  EXPECT_EQ(StdoutOfChild([] {
              delete new Service("A");
              new Service("B");
            }),
            kInstalled + kExitHandler);
}

// SingletonBase::SetPrintLevel switches the registry's messages on too: one shared level.
TEST(SingletonRegistry, AnnouncesLifeCycleAndDeletesInRegistrationOrder) {
  EXPECT_EQ(StdoutOfChild([] {
              SingletonBase::SetPrintLevel(1);
              new Service("A");
              new Service("B");
            }),
            Created("A") + kInstalled + Added("A") + Created("B") + Added("B") + kExitHandler +
                Gone("A") + Gone("B") + kDone);
}

TEST(SingletonRegistry, DuplicatesNullsAndEarlyDeletionsAreSkipped) {
  EXPECT_EQ(StdoutOfChild([] {
              SingletonRegistry::SetPrintLevel(1);
              SingletonRegistry& registry = SingletonRegistry::GetInstance();
              Service* a = new Service("A");
              new Service("B");
              registry.Register(a);
              registry.Register(nullptr);
              registry.Unregister(nullptr);
              registry.Unregister(a);
              registry.Unregister(a);
              delete a;
            }),
            kInstalled + Created("A") + Added("A") + Created("B") + Added("B") + Gone("A") +
                kExitHandler + Gone("B") + kDone);
}

// Exit handlers and static destructors run in reverse order of creation, and
// Singleton<T> instances never enter the registry. The one built before the
// registry dies after its exit handler; an object it makes then gets a fresh registry.
TEST(SingletonRegistry, ExitRunsInReverseCreationOrderAndLateObjectsGetAFreshRegistry) {
  EXPECT_EQ(StdoutOfChild([] {
              Singleton<LateCreator>::GetInstance();
              Announcer<'E'>& early = Singleton<Announcer<'E'>>::GetInstance();
              SingletonBase::SetPrintLevel(1);
              new Service("A");
              Singleton<Announcer<'L'>>::GetInstance();
              EXPECT_EQ(&early, &Singleton<Announcer<'E'>>::GetInstance());
            }),
            Created("A") + kInstalled + Added("A") + "Announcer L destroyed\n" + kExitHandler +
                Gone("A") + kDone + "Announcer E destroyed\n" + Created("late") + kInstalled +
                Added("late") + kExitHandler + Gone("late") + kDone);
}
