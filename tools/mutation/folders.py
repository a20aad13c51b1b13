"""Which sources are changed, and the test programs that must notice: the quick ones first."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Program:
    name: str
    seconds: int  # of processor time above which a mutant hangs
    arguments: tuple = ("--gtest_fail_fast", "--gtest_brief=1")
    parts: int = 1  # that run at once, each with its share of the tests; for tests that wait
    isolated: bool = False  # each part gets queues and a console port of its own


@dataclass(frozen=True)
class Folder:
    name: str  # of the table
    sources: tuple  # paths begin like this
    library: str  # what the compiler refuses here costs no compiling of tests
    programs: tuple
    tests: tuple  # the folders with the sources of these programs
    judged: tuple = ()  # paths begin like this: each survivor is a fault; elsewhere only too many of them are

    def judges(self, file):
        return file.startswith(self.judged)


# Of the tests with every fault, those that take 6 s in all; each of the others takes longer than that.
QUICK_FAULTS = "--gtest_filter=-EveryFault.*:*Cycle*:*Recovery:*ByForce:*HasLost*:*ConsoleReports"
GTEST = Program.arguments

PLATFORM = Program("platform_tests", 10)
CHIP = Program("chip_model_tests", 10)
CARD = Program("card_model_tests", 10)
VIRTIO = Program("virtio_tests", 10)
CARD_PROCESS = Program("poe_card_tests", 20, parts=8)
PLAYER = Program("scenario_player_tests", 5)
SNMP = Program("poectl_snmp_tests", 10)
# Of the tests of poectl, those that read whole records again and again, and those that wait for a silent card.
SLOW = "RecordFile.CutAt*:RecordFile.IsIndexed*:ReplayedRecord.*:PlottedRecord.*:Cards/*:CardClientAsk.*DoesNotReply"
TOOL = Program("poectl_tests", 10, GTEST + (f"--gtest_filter=-{SLOW}",), isolated=True)
TOOL_SLOWLY = Program("poectl_tests", 30, GTEST + (f"--gtest_filter={SLOW}",), parts=4, isolated=True)
OTHER_ENDS = Program("poectl_other_ends_tests", 10, isolated=True)
# Real programs, which wait for the service's cycles.
PROCESS = Program("poe_process_tests", 20, parts=16, isolated=True)
# Of these, those that use queues and console in another way than the rest.
PEERS = Program("poe_process_tests", 20, GTEST + (
    "--gtest_filter=Poectl.*:PoectlC*:PoectlLiveView.*:PoectlN*:PoectlPort.*:PoectlShell*:Beside*:Status.*:Report.*",),
                parts=16, isolated=True)

FOLDERS = (
    Folder("components/PoeDriver", ("components/PoeDriver/",), "poe_driver",
           (Program("poe_main_tests", 2), Program("poe_unit_tests", 2),
            Program("poe_random_run", 5, ("--cycles", "2000", "--seed", "1")),
            Program("poe_reliability_tests", 40, GTEST + (QUICK_FAULTS,)),
            Program("poe_process_tests", 20, GTEST + ("--gtest_filter=StartUp.Writes*",), isolated=True)),
           ("tests/unit/service/", "tests/faults/", "tests/soak/", "tests/support/",
            "tests/system/process/start_stop_test.cpp"),
           judged=("components/PoeDriver/",)),
    Folder("platform/host", ("platform/", "posix/"), "poe_platform", (PLATFORM,), ("tests/unit/platform/", "tests/support/")),
    Folder("simulator/chip", ("simulator/chip/",), "poe_chip_model", (CHIP, CARD), ("tests/unit/simulator/",)),
    Folder("simulator/bus, card", ("simulator/bus/", "simulator/card/"), "poe_card_model", (CARD,),
           ("tests/unit/simulator/",)),
    Folder("simulator/socket, virtio", ("simulator/socket/", "simulator/virtio/"), "poe_virtio", (VIRTIO,),
           ("tests/unit/simulator/", "tests/support/virtio/")),
    Folder("simulator/program", ("simulator/program/",), "poe_card", (CARD_PROCESS,), ("tests/system/card/",)),
    Folder("poectl/scenario", ("poectl/scenario/",), "poectl_scenario", (PLAYER, TOOL), ("tests/unit/poectl/",),
           judged=("poectl/scenario/scenario_player",)),
    Folder("poectl/console, service", ("poectl/console/", "poectl/service/"), "poectl", (OTHER_ENDS, TOOL, PEERS),
           ("tests/unit/poectl/", "tests/system/process/", "tests/support/process/")),
    Folder("poectl/config, diagnose, status", ("poectl/config/", "poectl/diagnose/", "poectl/status/", "text/"),
           "poectl", (TOOL,), ("tests/unit/poectl/",)),
    Folder("poectl/record, view", ("poectl/record/", "poectl/view/"), "poectl", (TOOL, TOOL_SLOWLY),
           ("tests/unit/poectl/",)),
    Folder("poectl/snmp", ("poectl/snmp/",), "poectl", (SNMP,), ("tests/unit/snmp/",)),
    Folder("poectl, commands and peers", ("poectl/",), "poectl", (OTHER_ENDS, TOOL, TOOL_SLOWLY, PROCESS),
           ("tests/unit/poectl/", "tests/system/process/", "tests/support/")),
)


def folder_of(file):
    """The first folder that has the file; none for a file that is not tried."""
    return next((folder for folder in FOLDERS if file.startswith(folder.sources)), None)
