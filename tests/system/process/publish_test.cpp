// "poectl publish" beside the real service.
#include "tests/support/process/process_fixture.h"
#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"
#include "tests/support/process/wait_until.h"
#include "tests/system/process/command.h"

namespace {

class Publish : public ServiceTest {
protected:
  std::string metrics() const { return folder.read("poe.prom"); }
  bool says(const std::string& line) const { return metrics().find("\n" + line + "\n") != std::string::npos; }

  const TemporaryDirectory folder;
};

TEST_F(Publish, RefusesWhatItCannotDo) {
  folder.write("file", "");
  const std::string there = " --directory " + folder.path().string();
  const std::pair<std::string, std::string> rows[] = {
      {"", "--directory is missing; the name of a directory is accepted"},
      {" --directory /nowhere",
       "/nowhere: cannot be used: No such file or directory; a directory that exists is accepted"},
      {" --directory " + folder.file("file"),
       folder.file("file") + ": cannot be used: Not a directory; a directory that exists is "
                             "accepted"},
      {there + " --from afar", "--from: there is no source 'afar'; queue and console are accepted"},
      {there + " --from queue --every 2",
       "--every is for snapshots from the console; --from queue excludes it"},
  };
  for (const auto& [arguments, error] : rows) {
    EXPECT_EQ(run("timeout 10 " POECTL " publish" + arguments), refusedWith(error)) << arguments;
  }
}

// The counters of a service that has started anew begin at 0, which Prometheus takes for a reset.
TEST_F(Publish, SaysThatTheServiceIsSilentAndGoesOnWhenItIsThereAgain) {
  StartedCommand publish({POECTL, "publish", "--directory", folder.path(), "--from", "queue"});
  ASSERT_TRUE(waitUntil([] { return queueExists("/queueToMain"); }));
  EXPECT_TRUE(waitUntil([&] { return metrics().find("poe_up 0\n") != std::string::npos; }));
  const std::string socket = folder.file("card.socket");
  const ServiceOptions shorted{{"--stepped", "--control", socket, "--plug", "0 class=2 watts=6"}, {}};
  service = std::make_unique<ServiceProcess>(shorted);
  ASSERT_TRUE(waitUntil([&] { return says("poe_up 1"); }));
  EXPECT_EQ(run(POECTL " example | " POECTL " apply - 2>/dev/null").status, 0);
  ASSERT_TRUE(waitUntil([&] { return says("poe_port_oper_status{port=\"0\"} 3"); }));
  EXPECT_EQ(poectl("card --control " + socket + " short 0").status, 0);
  ASSERT_TRUE(waitUntil([&] { return says("poe_port_short_total{port=\"0\"} 1"); })) << metrics();
  service.reset();
  ASSERT_TRUE(waitUntil([&] { return says("poe_up 0"); }));
  EXPECT_TRUE(says("poe_port_short_total{port=\"0\"} 1")) << "the last value stays";
  service = std::make_unique<ServiceProcess>(shorted);
  EXPECT_TRUE(waitUntil([&] { return says("poe_up 1"); }));
  EXPECT_TRUE(says("poe_port_short_total{port=\"0\"} 0"));
  publish.send(SIGTERM);
  EXPECT_EQ(publish.wait(), 0);
  EXPECT_TRUE(says("poe_up 0"));
  EXPECT_FALSE(queueExists("/queueToMain"));
}

} // namespace
