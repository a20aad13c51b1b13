// `poectl report`: what is in the file, what is not, and what it says of what it could not get.
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/system/process/command.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

class Report : public ServiceTest {
protected:
  // What follows a heading, up to the next one.
  static std::string section(const std::string& report, const std::string& title) {
    const std::size_t start = report.find("\n== " + title);
    EXPECT_NE(start, std::string::npos) << title << " in\n" << report;
    const std::size_t body = start == std::string::npos ? report.size() : report.find('\n', start + 1) + 2;
    return report.substr(body, report.find("\n== ", body) - body);
  }

  // A program for PATH.
  void fake(const std::string& name, const std::string& script) const {
    folder.write(name, "#!/bin/sh\n" + script + "\n");
    fs::permissions(folder.file(name), fs::perms::owner_all);
  }

  const TemporaryDirectory folder;
  const std::string out = folder.file("report.txt");
};

TEST_F(Report, HasTheConsoleTheQueuesTheDiagnosisAndTheServicesLogOnly) {
  startService();
  const std::string log = folder.write("log", "Jan  1 00:00:05 card sshd[7]: a password of somebody\n"
                                              "Jan  1 00:00:06 card poe_service[8]: POE now setting\n");
  const std::string command = "SECRET_OF_THE_USER=hunter2 " POECTL " report --out " + out + " --log " + log;
  const CommandResult result = run(command);
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_NE(result.output.find("wrote " + out), std::string::npos) << result.output;
  const std::string report = folder.read("report.txt");
  EXPECT_NE(section(report, "Diagnosis").find("not-configured"), std::string::npos) << report;
  EXPECT_NE(section(report, "Status").find("\"operStatusWord\": \"DISABLED\""), std::string::npos) << report;
  EXPECT_EQ(report.find("\"span_ms\": 0,"), std::string::npos) << report; // the looks take seconds
  const std::string console = section(report, "Console reports");
  for (const std::string title : {"> device", "> channel 3", "> info", "> poeport 0", "> poeport 3",
                                  "state                   : IN TIME"}) {
    EXPECT_NE(console.find(title + "\n"), std::string::npos) << title << " in\n" << console;
  }
  EXPECT_NE(section(report, "Queues").find("/queueToPoe: 0 of 10 messages wait, process"), std::string::npos)
      << report;
  EXPECT_EQ(section(report, "Log"),
            "the last lines of " + log +
                ", at most 200:\nJan  1 00:00:06 card poe_service[8]: POE now setting\n");
  EXPECT_EQ(report.find("hunter2"), std::string::npos);
  EXPECT_EQ(report.find("password"), std::string::npos);
}

TEST_F(Report, HasTheLast200LinesOfALongLog) {
  std::string log;
  for (int line = 1; line <= 300; line++) {
    log += "<6> line " + std::to_string(line) + "\n";
  }
  poectl("report --no-bus --out " + out + " --log " + folder.write("log", log));
  const std::string shown = section(folder.read("report.txt"), "Log");
  EXPECT_EQ(shown.substr(shown.find('\n') + 1), log.substr(log.find("<6> line 101\n")));
}

TEST_F(Report, SaysWhatItCouldNotGetAndIsNotHeldUpByAProgramThatHangsOrFloods) {
  fake("systemctl", "exec sleep 600");
  fake("dpkg-query", "exec yes");
  fake("journalctl", "echo 'Jan 1 poe_service[8]: a line of the journal'; echo '-- cursor: s=1'");
  const CommandResult result =
      run("PATH=" + folder.path().string() + ":$PATH " POECTL " report --out " + out);
  EXPECT_EQ(result.status, 0) << result.output;
  const std::string report = folder.read("report.txt");
  const std::string missing = section(report, "Not available");
  for (const std::string line : {"console: cannot reach the console on 127.0.0.1 port 10001: Connection "
                                 "refused; is the service running?",
                                 "unit poe-service: systemctl does not end within 5000 ms",
                                 "packages: dpkg-query prints more than 65536 bytes"}) {
    EXPECT_NE(missing.find(line + "\n"), std::string::npos) << line << " in\n" << missing;
  }
  EXPECT_NE(section(report, "Log").find("a line of the journal"), std::string::npos) << report;
}

TEST_F(Report, IsWrittenToANewFileOrNotAtAll) {
  const std::string earlier = folder.write("earlier", "an earlier report");
  EXPECT_EQ(poectl("report --out " + earlier),
            refusedWith("'" + earlier + "' exists already; the name of a new file is accepted"));
  EXPECT_EQ(folder.read("earlier"), "an earlier report");
  EXPECT_EQ(poectl("report --out /nowhere/report"),
            refusedWith("'/nowhere/report' cannot be written: No such file or directory"));
}

TEST_F(Report, LeavesNoPartOfAFileThatDoesNotFit) {
  EXPECT_EQ(run("ulimit -f 1; trap '' XFSZ; " POECTL " report --no-bus --out " + out),
            refusedWith("'" + out + "' cannot be written: File too large"));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

} // namespace
