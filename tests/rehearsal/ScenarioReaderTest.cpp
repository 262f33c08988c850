// What makes a scenario unusable, and where the reader says it is.
#include "rehearsal/ScenarioReader.h"

#include "app/VmControler.h"
#include "base/UserDefaults.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/RehearsedFolder.h"

namespace {
struct Reader {
    Reader() { VmControler::registerDefaults(known); }
    std::optional<Scenario> read(const std::string& json) {
        std::ofstream(folder.path() + "/s.json") << json;
        const auto scenario = ScenarioReader(known).read(folder.path() + "/s.json", fault);
        if (fault.starts_with(folder.path() + "/s.json: "))
            fault = fault.substr(folder.path().size() + 9);
        return scenario;
    }
    TemporaryFolder folder;
    RecordedSystemLog log;
    UserDefaults known{{}, log};
    std::string fault;
};

std::string withEvents(const std::string& events) {
    return RehearsedFolder::scenario(RehearsedFolder::launch(events));
}
std::string withEvent(const std::string& fields) {
    return withEvents(R"({"at": 1, "do": )" + fields + "}");
}
std::string withSignal(const std::string& segments) {
    return RehearsedFolder::scenario(RehearsedFolder::launch(""), "", "", segments);
}
std::string withDevice(const std::string& device) {
    return R"({"timeZone": "UTC", "hardware": [)" + device + R"(], "launches": [)" +
           RehearsedFolder::launch("") + "]}";
}
const std::string plainDevice = R"("name": "A", "uid": "a", "direction": "input", "channels": 1)";

struct Case {
    std::string json;
    std::string fault;
};

const std::string event0 = "launches[0].events[0]";

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        // the file
        {"{\n  \"a\": 1,\n  b}", "line 3, column "},
        {"[]", "is no JSON object"},
        {"{}", "timeZone: is missing"},
        {R"({"timeZone": "UTC"})", "hardware: is missing"},
        {R"({"timeZone": "UTC", "hardware": []})", "launches: is missing"},
        {R"({"timeZone": "UTC", "hardware": [], "launches": []})", "launches: is empty"},
        {R"({"timeZone": "UTC", "hardware": {}, "launches": []})", "hardware: is no list"},
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), "", "\"extra\": 1,"), "extra: is no field"},
        {R"({"timeZone": "Mars/Olympus", "hardware": [], "launches": []})",
         "timeZone: \"Mars/Olympus\" is no time zone"},
        {R"({"timeZone": 1, "hardware": [], "launches": []})", "timeZone: is no text"},
        // the volume and the settings
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), "", R"("volume": {},)"),
         "volume.freeBytes: is missing"},
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), "", R"("volume": {"freeBytes": -1},)"),
         "volume.freeBytes: -1 is not from 0"},
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), "", R"("volume": {"freeBytes": "all"},)"),
         "volume.freeBytes: is no number"},
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), R"(, "RecordMod": 1)"),
         "settings.RecordMod: there is no such setting"},
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), R"(, "RecordMode": "auto")"),
         "settings.RecordMode: is no number"},
        {RehearsedFolder::scenario(RehearsedFolder::launch(""), R"(, "MonitorSwitch": 1)"),
         "settings.MonitorSwitch: is neither true nor false"},
        // devices
        {withDevice("1"), "hardware[0]: is no object"},
        {withDevice("{" + plainDevice + "}"), "hardware[0].rates: is missing"},
        {withDevice("{" + plainDevice + R"(, "rates": []})"), "hardware[0].rates: is empty"},
        {withDevice("{" + plainDevice + R"(, "rates": [8000, 0]})"), "hardware[0].rates[1]: 0 is not from"},
        {withDevice("{" + plainDevice + R"(, "rates": [8000], "colour": 1})"),
         "hardware[0].colour: is no field"},
        {withDevice("{" + plainDevice + R"(, "rates": [8000], "minFrames": 512, "maxFrames": 64})"),
         "hardware[0].maxFrames: less than minFrames"},
        {withDevice("{" + plainDevice + R"(, "rates": [8000], "dataSources": [""]})"),
         "hardware[0].dataSources[0]: is empty"},
        {withDevice("{" + plainDevice + R"(, "rates": [8000]}, {)" + plainDevice + R"(, "rates": [8000]})"),
         "hardware[1].uid: another device is \"a\" already"},
        {withDevice(R"({"name": "A", "uid": "a", "direction": "up", "channels": 1, "rates": [8000]})"),
         "hardware[0].direction: \"up\" is none of input, output, duplex"},
        {withDevice(R"({"name": "A", "uid": "a", "direction": "input", "channels": 1.5, "rates": [8000]})"),
         "hardware[0].channels: 1.5 is no whole number"},
        {withDevice(
             R"({"name": "A", "uid": "a", "direction": "output", "channels": 1, "rates": [8000], "signal": []})"),
         "hardware[0].signal: an output hears nothing"},
        // signals
        {withSignal(R"({"at": 0, "kind": "hum"})"), "hardware[0].signal[0].kind: \"hum\" is none of silence"},
        {withSignal(R"({"kind": "silence"})"), "hardware[0].signal[0].at: is missing"},
        {withSignal(R"({"at": -1, "kind": "silence"})"), "hardware[0].signal[0].at: -1 is not from 0"},
        {withSignal(R"({"at": 0, "kind": "silence", "level": 1})"), "hardware[0].signal[0].level: is no field"},
        {withSignal(R"({"at": 0, "kind": "sine", "level": 0.5})"),
         "hardware[0].signal[0].frequency: is missing"},
        {withSignal(R"({"at": 0, "kind": "sine", "level": 0.5, "frequency": 5000})"),
         "hardware[0].signal[0].frequency: 5000 is not from 0 to 4000"},
        {withSignal(R"({"at": 0, "kind": "noise", "level": 2})"), "hardware[0].signal[0].level: 2 is not"},
        {withSignal(R"({"at": 5, "kind": "silence"}, {"at": 4, "kind": "counter"})"),
         "hardware[0].signal[1].at: is earlier than the segment before"},
        {withSignal(R"({"at": 0, "kind": "file", "path": "none.aif"})"),
         "hardware[0].signal[0].path: there is no file \"none.aif\""},
        {withSignal(R"({"at": 0, "kind": "file", "path": "s.json"})"),
         "hardware[0].signal[0].path: \"s.json\" is no AIFF file"},
        // launches
        {RehearsedFolder::scenario(R"({"events": []})"), "launches[0].start: is missing"},
        {RehearsedFolder::scenario(R"({"start": "2026-03-02 09:00:00"})"), "launches[0].events: is missing"},
        {RehearsedFolder::scenario(RehearsedFolder::launch("", "2026-02-30 09:00:00")),
         "launches[0].start: \"2026-02-30 09:00:00\" is no date and time"},
        {RehearsedFolder::scenario(RehearsedFolder::launch("", "2026-03-02 09:00")),
         "launches[0].start: \"2026-03-02 09:00\" is no date and time"},
        {RehearsedFolder::scenario(RehearsedFolder::launch("", "2026-03-02 24:00:00")),
         "launches[0].start: \"2026-03-02 24:00:00\" is no date"},
        {RehearsedFolder::scenario(RehearsedFolder::launch("", "2026-03-29 02:30:00")),
         "launches[0].start: \"2026-03-29 02:30:00\" is skipped by the clocks"},
        {RehearsedFolder::scenario(RehearsedFolder::launch("") + "," +
                                   RehearsedFolder::launch("", "2026-03-02 08:59:59")),
         "launches[1].start: is earlier than the launch before"},
        // events
        {withEvents("5"), event0 + ": is no object"},
        {withEvents(R"({"do": "quit"})"), event0 + ".at: is missing"},
        {withEvents(R"({"at": 1})"), event0 + ".do: is missing"},
        {withEvents(R"({"at": "1", "do": "quit"})"), event0 + ".at: is no number"},
        {withEvents(R"({"at": -0.5, "do": "quit"})"), event0 + ".at: -0.5 is not from 0"},
        {withEvents(R"({"at": 2, "do": "sleep"}, {"at": 1, "do": "wake"})"),
         "launches[0].events[1].at: is earlier than the event before"},
        {withEvent("\"dance\""), event0 + ".do: \"dance\" is no event"},
        {withEvent(R"("quit", "now": true)"), event0 + ".now: is no field"},
        {withEvent(R"("press", "button": "record")"), event0 + ".on: is missing"},
        {withEvent(R"("press", "button": "panic", "on": true)"),
         event0 + ".button: \"panic\" is none of record"},
        {withEvent(R"("press", "button": "record", "on": 1)"), event0 + ".on: is neither true nor false"},
        {withEvent(R"("level", "value": 21)"), event0 + ".value: 21 is not from 0 to 20"},
        {withEvent(R"("level", "value": 1.5)"), event0 + ".value: 1.5 is no whole number"},
        {withEvent(R"("unplug", "uid": "nobody")"), event0 + ".uid: there is no device \"nobody\""},
        {withEvent(R"("stall", "uid": "in", "seconds": 0)"), event0 + ".seconds: 0 is not from"},
        {withEvent(R"("clock", "by": "1h")"), event0 + ".by: is no number"},
        {withEvent(R"("free", "bytes": -1)"), event0 + ".bytes: -1 is not from 0"},
        {withEvent(R"("writeError")"), event0 + ".on: is missing"},
        {withEvent(R"("slowDisk", "seconds": -1)"), event0 + ".seconds: -1 is not from 0"},
        {withEvent(R"("admin", "grant": "yes")"), event0 + ".grant: is neither"},
        {withEvent(R"("answer", "message": "", "with": "other")"), event0 + ".message: is empty"},
        {withEvent(R"("answer", "message": "UnableExit", "with": "ok")"), event0 + ".with: \"ok\" is none of"},
        {withEvent(R"("tab", "index": 4)"), event0 + ".index: 4 is not from 0 to 3"},
        {withEvent(R"("range", "from": 5, "to": 4)"), event0 + ".to: comes before"},
        {withEvent(R"("note", "text": 1)"), event0 + ".text: is no text"},
        {withEvent(R"("export")"), event0 + ".path: is missing"},
        {withEvent(R"("prefer", "settings": {"Colour": 1})"),
         event0 + ".settings.Colour: there is no such setting"},
        {withEvent(R"("editTimer", "row": -1, "values": {})"), event0 + ".row: -1 is not from 0"},
        {withEvent(R"("editTimer", "row": 0, "values": {"begin": 0})"), event0 + ".values.begin: is no field"},
        {withEvent(R"("editTimer", "row": 0, "values": {"start": "9:15"})"),
         event0 + ".values.start: \"9:15\" is no time of day"},
        {withEvent(R"("editTimer", "row": 0, "values": {"stop": 86401})"),
         event0 + ".values.stop: 86401 is not"},
        {withEvent(R"("insertTimer", "values": {"week": 8})"), event0 + ".values.week: 8 is not from 0 to 7"},
    };
    return all;
}
} // namespace

TEST(ScenarioReaderTest, saysWhereAndWhatIsWrong) {
    Reader reader;
    for (const Case& each : cases()) {
        EXPECT_FALSE(reader.read(each.json).has_value()) << each.json;
        EXPECT_TRUE(reader.fault.starts_with(each.fault)) << reader.fault << "\ninstead of\n" << each.fault;
        EXPECT_EQ(reader.fault.find('\n'), std::string::npos) << reader.fault;
    }
}

TEST(ScenarioReaderTest, namesAFileThatIsNotThere) {
    Reader reader;
    std::string fault;
    EXPECT_FALSE(ScenarioReader(reader.known).read(reader.folder.path() + "/none.json", fault));
    EXPECT_TRUE(fault.starts_with(reader.folder.path() + "/none.json: ")) << fault;
}

TEST(ScenarioReaderTest, readsEveryKindOfEvent) {
    Reader reader;
    const auto scenario = reader.read(withEvents(R"(
        {"at": 1, "do": "press", "button": "preferences"}, {"at": 1, "do": "prefer", "settings": {"RecordMode": 1}},
        {"at": 1, "do": "level", "value": 20}, {"at": 1, "do": "tab", "index": 3},
        {"at": 1, "do": "insertTimer", "row": 0, "values": {"name": "A", "enabled": 1, "start": "24:00", "stop": 60}},
        {"at": 1, "do": "editTimer", "row": 0, "values": {"enabled": true, "start": "09:15:30"}},
        {"at": 1, "do": "deleteTimer", "row": 0}, {"at": 1, "do": "select", "row": 0}, {"at": 1, "do": "play"},
        {"at": 1, "do": "stop"}, {"at": 1, "do": "seek", "to": 5}, {"at": 1, "do": "range", "from": 1, "to": 1},
        {"at": 1, "do": "lock"}, {"at": 1, "do": "note", "text": "n"}, {"at": 1, "do": "delete"},
        {"at": 1, "do": "export", "path": "x.aif"}, {"at": 1, "do": "sleep"}, {"at": 1, "do": "wake"},
        {"at": 1, "do": "unplug", "uid": "in"}, {"at": 1, "do": "replug", "uid": "in"},
        {"at": 1, "do": "stall", "uid": "in", "seconds": 2}, {"at": 1, "do": "clock", "by": -3600},
        {"at": 1, "do": "free", "bytes": 0}, {"at": 1, "do": "writeError", "on": true},
        {"at": 1, "do": "slowDisk", "seconds": 0}, {"at": 1, "do": "admin", "grant": true},
        {"at": 1, "do": "answer", "message": "M", "with": "other"}, {"at": 1, "do": "quit"},
        {"at": 1, "do": "crash"})"));
    ASSERT_TRUE(scenario.has_value()) << reader.fault;
    ASSERT_EQ(scenario->launches[0].events.size(), 29U);
    EXPECT_EQ(scenario->launches[0].events[5].place, "launches[0].events[5]");
}

TEST(ScenarioReaderTest, readsDevicesAndTheirSignals) {
    Reader reader;
    const auto scenario = reader.read(withSignal(
        R"({"at": 0, "kind": "silence"}, {"at": 1, "kind": "constant", "level": -0.5},
           {"at": 2, "kind": "sine", "frequency": 440, "level": 0.5}, {"at": 3, "kind": "noise", "level": 0.1, "seed": 7},
           {"at": 4.5, "kind": "counter"})"));
    ASSERT_TRUE(scenario.has_value()) << reader.fault;
    EXPECT_STREQ(scenario->zone.id().constData(), "Europe/Berlin");
    ASSERT_EQ(scenario->devices.size(), 2U);
    const SimulatedDevice& input = scenario->devices[0];
    EXPECT_EQ(input.rates, (std::vector<double>{8000.0}));
    EXPECT_EQ(input.minFrames, 14U);
    EXPECT_EQ(input.maxFrames, 4096U);
    ASSERT_EQ(input.signal.size(), 5U);
    EXPECT_EQ(input.signal[3].seed, 7U);
    EXPECT_EQ(input.signal[4].at, 4.5);
    EXPECT_FALSE(scenario->devices[1].hasInput());
}

TEST(ScenarioReaderTest, givesAFileItsOwnSamplesAtItsOwnRate) {
    Reader reader;
    PosixVolume volume;
    const std::vector<std::int16_t> samples = {0, 1, -1, 32767, -32767, 100};
    auto created = SoundFile::create(volume, reader.folder.path() + "/signal.aif", 8000.0, 2);
    ASSERT_TRUE(created.file->writeSamples(0, samples) && created.file->close());
    const auto scenario = reader.read(withSignal(R"({"at": 0, "kind": "file", "path": "signal.aif"})"));
    ASSERT_TRUE(scenario.has_value()) << reader.fault;
    const SimulatedSegment& segment = scenario->devices[0].signal[0];
    EXPECT_EQ(segment.sampleChannels, 2U);
    ASSERT_EQ(segment.samples->size(), samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i)
        EXPECT_EQ(static_cast<std::int16_t>(segment.samples->at(i) * 32767.0F), samples[i]) << i;
}
