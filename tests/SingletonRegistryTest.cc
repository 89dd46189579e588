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
std::string Removed(const std::string& name) {
  return "SingletonRegistry::Unregister() - removed '" + name + "' !\n";
}
std::string Deleted(const std::string& name) {
  return "SingletonBase::~SingletonBase() - '" + name + "' deleted !\n";
}

// A client singleton; its owner may delete it early.
class Service : public SingletonBase {
 public:
  explicit Service(const std::string& name) : SingletonBase(name) {}
  ~Service() override = default;
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

TEST(SingletonRegistry, AnnouncesLifeCycleAndDeletesInRegistrationOrder) {
  EXPECT_EQ(StdoutOfChild([] {
              SingletonBase::SetPrintLevel(1);
              new Service("A");
              new Service("B");
            }),
            Created("A") + kInstalled + Added("A") + Created("B") + Added("B") + kExitHandler +
                Removed("A") + Deleted("A") + Removed("B") + Deleted("B") + kDone);
}

TEST(SingletonRegistry, SecondRegistrationAndNullPointersAreIgnored) {
  EXPECT_EQ(
      StdoutOfChild([] {
        SingletonRegistry::SetPrintLevel(1);
        Service* a = new Service("A");
        SingletonRegistry::GetInstance().Register(a);
        SingletonRegistry::GetInstance().Register(nullptr);
        SingletonRegistry::GetInstance().Unregister(nullptr);
      }),
      Created("A") + kInstalled + Added("A") + kExitHandler + Removed("A") + Deleted("A") + kDone);
}

TEST(SingletonRegistry, ObjectDeletedByItsOwnerIsSkippedAtExit) {
  EXPECT_EQ(StdoutOfChild([] {
              SingletonRegistry::SetPrintLevel(1);
              Service* a = new Service("A");
              new Service("B");
              SingletonRegistry::GetInstance().Unregister(a);
              SingletonRegistry::GetInstance().Unregister(a);
              delete a;
            }),
            Created("A") + kInstalled + Added("A") + Created("B") + Added("B") + Removed("A") +
                Deleted("A") + kExitHandler + Removed("B") + Deleted("B") + kDone);
}

TEST(SingletonRegistry, BothClassesShareOnePrintLevel) {
  SingletonBase::SetPrintLevel(3);
  EXPECT_EQ(SingletonRegistry::GetPrintLevel(), 3u);
  SingletonRegistry::SetPrintLevel(0);
  EXPECT_EQ(SingletonRegistry::GetPrintLevel(), 0u);
}

TEST(SingletonRegistry, SingletonsDieInReverseOrderAroundTheExitHandler) {
  EXPECT_EQ(StdoutOfChild([] {
              Singleton<Announcer<'E'>>::GetInstance();
              new Service("A");
              Singleton<Announcer<'L'>>::GetInstance();
            }),
            kInstalled + "Announcer L destroyed\n" + kExitHandler + "Announcer E destroyed\n");
}

TEST(SingletonRegistry, ObjectBuiltAfterTheExitHandlerGetsAFreshRegistry) {
  EXPECT_EQ(StdoutOfChild([] {
              Singleton<LateCreator>::GetInstance();
              SingletonBase::SetPrintLevel(1);
              new Service("A");
            }),
            Created("A") + kInstalled + Added("A") + kExitHandler + Removed("A") + Deleted("A") +
                kDone + Created("late") + kInstalled + Added("late") + kExitHandler +
                Removed("late") + Deleted("late") + kDone);
}

TEST(Singleton, OneInstancePerTypeDestroyedOnceAtExit) {
  EXPECT_EQ(StdoutOfChild([] {
              Announcer<'X'>& x = Singleton<Announcer<'X'>>::GetInstance();
              EXPECT_EQ(&x, &Singleton<Announcer<'X'>>::GetInstance());
              EXPECT_NE(static_cast<void*>(&x),
                        static_cast<void*>(&Singleton<Announcer<'Y'>>::GetInstance()));
            }),
            "Announcer Y destroyed\nAnnouncer X destroyed\n");
}
