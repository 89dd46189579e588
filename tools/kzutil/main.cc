// kzutil: asks the KzUtil library its questions from a shell. Results go to
// stdout, diagnostics to stderr one line each; exit status 0 success, 1 a failed
// query or finding, 2 a usage error.
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <map>

#include "Commands.h"
#include "KzUtilVersion.h"
#include "SingletonBase.h"
#include "Tool.h"

using KzUtil::ErrorLogger;

namespace {

const std::map<std::string, ErrorLogger::ESeverityLevel>& LevelNames() {
  static const std::map<std::string, ErrorLogger::ESeverityLevel> names = {
      {"debug", ErrorLogger::eDebug},       {"info", ErrorLogger::eInfo},
      {"warning", ErrorLogger::eWarning},   {"error", ErrorLogger::eError},
      {"critical", ErrorLogger::eCritical}, {"fatal", ErrorLogger::eFatal}};
  return names;
}

// Help and --version end the parse with an "error" that is a success.
int ReportParseError(const CLI::App& app, const CLI::ParseError& e) {
  if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(e);
  const std::vector<std::string> unused = app.remaining(true);
  const std::string what =
      unused.empty() ? e.what() : "unknown subcommand or argument '" + unused.front() + "'";
  KzTool::PrintDiagnostic("usage error", what + " (see kzutil --help)");
  return KzTool::kExitUsage;
}

void AddGlobalOptions(CLI::App& app) {
  app.set_version_flag("--version", KzUtil::kKzUtilVersionString, "Print the library version");
  app.add_option_function<std::string>(
         "--log-level", [](const std::string& name) { KzTool::SetLogLevel(LevelNames().at(name)); },
         "Lowest severity of the library's own log lines shown on stderr (default: error)")
      ->check(CLI::IsMember({"debug", "info", "warning", "error", "critical", "fatal"}));
  app.require_subcommand(1);
  app.fallthrough();
}

// The library requires HOME; a shell without it (cron, CI) gets the account's home.
void EnsureHome() {
  if (std::getenv("HOME")) return;
  const passwd* account = getpwuid(geteuid());
  setenv("HOME", account && account->pw_dir ? account->pw_dir : "/", 1);
}

}  // namespace

int main(int argc, char** argv) {
  EnsureHome();
  ErrorLogger& logger = KzUtil::Singleton<ErrorLogger>::GetInstance();
  logger.SetOption(ErrorLogger::eShowSeverity, true);
  KzTool::SetLogLevel(ErrorLogger::eError);

  CLI::App app(
      "kzutil - ask the KzUtil library about this host, telescope geometry, "
      "detector numbers, ini files and GPS time.",
      "kzutil");
  AddGlobalOptions(app);
  KzTool::AddInfoCommand(app);
  KzTool::AddTimeCommand(app);
  KzTool::AddGeometryCommand(app);
  KzTool::AddNumberCommand(app);
  KzTool::AddFovCommand(app);
  KzTool::AddDisplayCommand(app);
  KzTool::AddIniCommand(app);
  app.footer(
      "Examples:\n"
      "  kzutil info                    # what the library makes of this host\n"
      "  kzutil pixel 1 3 10 11         # where pixel (10, 11) of eye 1, mirror 3 looks\n"
      "  kzutil time show now --gps     # GPS time now, as UTC text\n"
      "  kzutil ini check KzSite.ini    # traps of a hand-edited ini file\n"
      "Library log lines (\"ERR:Class::Method() - ...\") go to stderr from --log-level on;\n"
      "kzutil info shows them in its report instead.\n"
      "Exit status: 0 success, 1 a failed query or finding, 2 a usage error.\n"
      "Run 'kzutil SUBCOMMAND --help' for the options and examples of each subcommand.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return ReportParseError(app, e);
  } catch (const KzTool::ToolError& e) {
    KzTool::PrintDiagnostic(e.Status() == KzTool::kExitUsage ? "usage error" : "error", e.what());
    return e.Status();
  } catch (const std::exception& e) {
    KzTool::PrintDiagnostic("error", e.what());
    return KzTool::kExitFailed;
  }
  return KzTool::FlushResult();
}
