// The tool's writing commands: what they store and where, what they refuse and protect.
#include "tests/store_support.h"
#include "tests/tool_test.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace fs = std::filesystem;

namespace {

using arguments = std::vector<std::string>;

const arguments new_device = {"new",        "OWN",   "--id",       "0xEF 0x40 0x18",
                              "--voltage",  "1.8V",  "--dies",     "2",
                              "--density",  "128Mb", "--dummy",    "0xA",
                              "--dummy-x4", "12",    "--template", "Winbond"};

std::string bytes_of(const std::string& path) {
    return files_in(fs::path(path).parent_path().string() + "/")[fs::path(path).filename()];
}

std::string card(const std::string& name) {
    return "<FLASH><DEVICE_INFO><DEVICE_NAME>" + name +
           "</DEVICE_NAME><DEVICE_IO_VOLTAGE>1.8V</DEVICE_IO_VOLTAGE>"
           "<DEVICE_DENSITY>8GB</DEVICE_DENSITY></DEVICE_INFO></FLASH>";
}

class ToolWriteTest : public ToolTest {
  protected:
    std::string own_file(const std::string& name) const {
        return m_custom_dir + "pgm_flash_" + name + ".xml";
    }
    static std::string field(const std::string& device, const std::string& name) {
        return zorva("show " + device + " --field " + name).out;
    }
    static std::string property(const std::string& device, const std::string& pointer) {
        const auto document = zorva("show " + device + " --format json").document();
        return document.value(nlohmann::json::json_pointer("/flows" + pointer), "");
    }
    // All that the commands could change.
    std::pair<texts, texts> disk() const { return {files_in(m_custom_dir), files_in(m_xml_dir)}; }

    // Expects a refusal that leaves the disk as it was.
    void expect_refused(const arguments& command, int code, const std::string& sentence) const {
        SCOPED_TRACE(joined(command));
        const auto before = disk();
        const tool_answer answer = zorva(command);
        EXPECT_EQ(answer.code, code);
        EXPECT_EQ(answer.out, "");
        EXPECT_TRUE(answer.err.starts_with("error: " + sentence)) << answer.err;
        EXPECT_EQ(std::ranges::count(answer.err, '\n'), 1) << answer.err;
        EXPECT_EQ(disk(), before);
    }
};

// The life of a device: each step sees what the one before has left on the disk.
TEST_F(ToolWriteTest, MakesChangesCopiesAndRemoves) {
    EXPECT_EQ(zorva(new_device).out, own_file("OWN") + "\n");
    const std::pair<const char*, const char*> made[] = {
        {"id", "0xEF 0x40 0x18\n"}, {"voltage", "1.8V\n"},
        {"density", "128Mb\n"},     {"dies", "2\n"},
        {"dummy", "10\n"},          {"dummy-x4", "12\n"},
        {"template", "Winbond\n"},  {"origin", "custom\n"}};
    for (const auto& [name, value] : made) EXPECT_EQ(field("OWN", name), value) << name;
    EXPECT_EQ(property("OWN", "/sdm/1/actions/0/name"), "Write_enable");

    EXPECT_EQ(zorva("set OWN voltage=3.0V/3.3V sfl.program[1].delay=0x10 dies=1").code, 0);
    EXPECT_EQ(field("OWN", "voltage") + field("OWN", "dies"), "3.0V/3.3V\n1\n");
    EXPECT_EQ(field("OWN", "dummy"), "10\n") << "what isn't set stays";
    EXPECT_EQ(property("OWN", "/sfl/1/actions/0/delay"), "16");
    EXPECT_EQ(property("OWN", "/sdm/1/actions/0/delay"), "0");

    EXPECT_EQ(zorva("copy OWN TWO --set density=256Mb dummy=0").out, own_file("TWO") + "\n");
    EXPECT_EQ(field("TWO", "density") + field("TWO", "dummy"), "256Mb\n0\n");
    EXPECT_EQ(field("OWN", "density") + field("OWN", "dummy"), "128Mb\n10\n");
    EXPECT_EQ(property("TWO", "/sfl/1/actions/0/delay"), "16");

    EXPECT_EQ(zorva("rm OWN").out, own_file("OWN") + "\n");
    EXPECT_EQ(zorva("list --origin custom --format names").out, "TWO\n");
    EXPECT_FALSE(fs::exists(own_file("OWN")));
}

TEST_F(ToolWriteTest, ImportsWhatItExported) {
    zorva("copy SHIP_B OWN");
    const std::string exported = m_root + "exported.xml";
    EXPECT_EQ(zorva("export OWN -o " + exported).out, exported + "\n");
    EXPECT_EQ(bytes_of(exported), bytes_of(own_file("OWN")));
    EXPECT_EQ(zorva("export OWN").out, bytes_of(exported));
    EXPECT_EQ(zorva("export OWN --format json").document()["document"], bytes_of(exported));
    zorva("rm OWN");
    EXPECT_EQ(zorva("import " + exported + " --to installation").code, 0);
    EXPECT_EQ(field("OWN", "origin"), "installation\n");
    EXPECT_EQ(zorva("export OWN").out, bytes_of(exported));

    const std::string several = m_root + "several";
    write_file(several, document(devices("A|B") + user_template("T")));
    const auto answer = zorva("import --format json " + several).document();
    EXPECT_EQ(answer["names"], nlohmann::json({"A", "B", "T"}));
    EXPECT_EQ(answer["paths"][2], m_custom_dir + "pgm_flash_template_T.xml");
    EXPECT_EQ(zorva("list --origin custom --format names").out, "A\nB\n");
    EXPECT_EQ(zorva("template show T").code, 0);
}

TEST_F(ToolWriteTest, KeepsTemplates) {
    zorva("copy SHIP_A OWN --set sdm.program[1].name=Mine");
    const std::string file = m_custom_dir + "pgm_flash_template_T.xml";
    EXPECT_EQ(zorva("template save T --from OWN").out, file + "\n");
    EXPECT_TRUE(contains(zorva("template list").out, "T\tuser\t" + file));
    EXPECT_TRUE(contains(zorva("template show T").out, "\tMine\n"));
    EXPECT_EQ(zorva("set OWN template=Issi").code, 0);
    EXPECT_EQ(property("OWN", "/sdm/1/actions/0/name"), "Write_enable");

    arguments from_template = new_device;
    from_template.back() = "T";
    from_template.insert(from_template.end(), {"--save-template", "T2"});
    from_template[1] = "OWN_2";
    EXPECT_EQ(zorva(from_template).out,
              own_file("OWN_2") + "\n" + m_custom_dir + "pgm_flash_template_T2.xml\n");
    EXPECT_EQ(property("OWN_2", "/sdm/1/actions/0/name"), "Mine");

    EXPECT_EQ(zorva("template rm T").out, file + "\n");
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(zorva("template show T").code, 1);
    EXPECT_EQ(zorva("set OWN_2 dies=1").code, 0) << "its template is gone, and it doesn't matter";
    EXPECT_EQ(field("OWN_2", "template"), "T\n");
}

TEST_F(ToolWriteTest, RefusesAndLeavesTheDiskAsItWas) {
    zorva("copy SHIP_A OWN");
    zorva("template save T --from OWN");
    const std::string there = m_root + "there.xml";
    write_file(there, zorva("export SHIP_A").out);
    const std::string golden = m_root + "golden.xml";
    write_file(golden, document(golden_template()));
    const std::string twins = m_root + "twins.xml";
    write_file(twins, document(devices("NEW|X") + user_template("X")));
    const auto changed = [](std::size_t place, const std::string& value) {
        arguments command = new_device;
        command[1] = "NEW";
        command[place] = value;
        return command;
    };
    const auto with_template = [](const std::string& name) {
        arguments command = new_device;
        command.insert(command.end(), {"--save-template", name});
        return command;
    };
    struct row {
        arguments command;
        int code;
        std::string sentence;
    };
    const row rows[] = {
        {{"set", "SHIP_A", "dies=2"},
         4,
         "SHIP_A is a shipped device; to change it, copy it: zorva"},
        {{"rm", "SHIP_A"}, 4, "SHIP_A is a shipped device;"},
        {{"rm", "LEG_LOW"}, 4, "LEG_LOW is a legacy device"},
        {{"template", "rm", "Issi"}, 4, "Issi is a shipped template"},
        {{"export", "OWN", "-o", there}, 4, there + " exists already"},
        {{"export", "OWN", "-o", m_root + "none/x"}, 3, m_root + "none/x can't be written"},
        {{"export", "LEG_LOW"}, 1, "LEG_LOW is a legacy device"},
        {{"copy", "LEG_LOW", "NEW"}, 1, "LEG_LOW is a legacy device, which has no flows"},
        {{"template", "save", "NEW", "--from", "LEG_LOW"}, 1, "LEG_LOW is a legacy device"},
        {{"copy", "SHIP_A", "LEG_LOW"}, 1, "Device name 'LEG_LOW' is invalid as it already exist"},
        {{"copy", "SHIP_A", "OWN", "--to", "installation"}, 1, "Device name 'OWN' is invalid"},
        {{"copy", "SHIP_A", "Micron"}, 1, "Device name 'Micron' is invalid as it conflicts"},
        {{"copy", "SHIP_A", "../NEW"}, 1, "Device name '../NEW' is invalid"},
        {{"copy", "SHIP_", "NEW"}, 1, "There is no device 'SHIP_'. Did you mean 'SHIP_A'"},
        {{"copy", "OWN", "NEW", "--set", "dummy=16"},
         1,
         "Device dummy clock cycle '16' is invalid."},
        {changed(3, "0X1"), 1, "Device ID '0X1' is invalid."},
        {changed(5, "5V"), 1, "Device I/O voltage '5V' is invalid."},
        {changed(9, "3Mb"), 1, "Device density '3Mb' is invalid."},
        {changed(7, "0"), 1, "Total device die '0' is invalid."},
        {changed(7, "4294967297"), 1, "'4294967297' is no number"},
        {changed(15, "winbond"), 1, "Programming flow template 'winbond' is invalid."},
        {new_device, 1, "Device name 'OWN' is invalid"},
        {{"new", "NEW", "--dies", "1"}, 2, "Missing: --id, --density, --voltage, --dummy,"},
        {{"set", "OWN", "dies"}, 2, "'dies' sets nothing"},
        {{"set", "OWN", "name=NEW"}, 2, "There is no field 'name' to set"},
        {{"set", "OWN", "dies=1", "template=NONE"}, 1, "Programming flow template 'NONE'"},
        {{"set", "OWN", "sfl.program.delay=1"}, 2, "'sfl.program.delay' is no address"},
        {{"set", "OWN", "sff.program[1].delay=1"}, 2, "There is no flow 'sff'"},
        {{"set", "OWN", "sfl.verfy[1].delay=1"}, 2, "There is no operation 'verfy'"},
        {{"set", "OWN", "sfl.program[0].delay=1"}, 1, "sfl.program[0] isn't there"},
        {{"set", "OWN", "sfl.program[2].delay=1"}, 1, "sfl.program[2] isn't there"},
        {{"set", "OWN", "sfl.erase[1].delay=1"}, 1, "sfl.erase[1] isn't there"},
        {{"set", "OWN", "sfl.program[1].address=1"},
         1,
         "sfl.program[1] is of the type 'Write Register'"},
        {{"set", "OWN", "sfl.program[1].bus_width=1-1"}, 1, "sfl.program[1].bus_width is fixed"},
        {{"set", "OWN", "sfl.program[1].delay=soon"}, 1, "Action delay 'soon' is invalid."},
        {{"set", "OWN", "sfl.program[1].delay=4294967296"}, 1, "A number in the flows of 'OWN'"},
        {{"set", "OWN", "sfl.program[1].data=jic\x01"}, 1, R"('jic\x01' holds a character)"},
        {{"template", "save", "T", "--from", "OWN"},
         1,
         "Template name 'T' is invalid as it already"},
        {{"template", "save", "OWN", "--from", "OWN"}, 1, "Tempate name 'OWN' is invalid"},
        {{"template", "rm", "TT"}, 1, "There is no template 'TT'"},
        {{"import", there}, 1, "Device name 'SHIP_A' is invalid as it already exist"},
        {{"import", twins}, 1, "A device and a template of the file are both named 'X'"},
        {{"import", golden}, 1, "The file defines no device and no template."},
    };
    for (const row& row : rows) expect_refused(row.command, row.code, row.sentence);

    zorva("rm OWN");
    expect_refused(with_template("OWN"), 1, "The device is named 'OWN'");
    expect_refused(with_template("T"), 1, "Template name 'T' is invalid");
}

// What one item of a file is refused for keeps the others out, too.
TEST_F(ToolWriteTest, ImportsAllOrNothing) {
    const std::string file = m_root + "import.xml";
    struct row {
        const char* name;
        std::string definitions;
        int code;
        std::string answer;
    };
    const row rows[] = {
        {"bad value", devices("A") + device({.name = "B", .density = "5Mb"}), 1, "error[20478]: "},
        {"no schema", devices("A") + "<FLASH/>", 1, "error[schema]: "},
        {"known device behind a new one", devices("A|SHIP_B"), 1,
         "Device name 'SHIP_B' is invalid"},
        {"golden name", devices("A|Issi"), 1, "Device name 'Issi' is invalid"},
        {"template of a device's name", devices("A") + user_template("SHIP_A"), 1, "Tempate name"},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.name);
        write_file(file, document(row.definitions));
        const auto before = disk();
        const tool_answer answer = zorva("import " + file);
        EXPECT_EQ(answer.code, row.code);
        EXPECT_TRUE(contains(answer.out + answer.err, row.answer)) << answer.out << answer.err;
        EXPECT_EQ(disk(), before);
    }
    EXPECT_EQ(zorva("import " + m_root + "none.xml").code, 3);
}

// A dry run prints, byte for byte, the file that the same command then writes.
TEST_F(ToolWriteTest, ShowsInADryRunWhatItWouldWrite) {
    const std::string file = m_root + "import.xml";
    write_file(file, document(devices("IMPORTED")));
    const std::pair<arguments, std::string> rows[] = {
        {new_device, "OWN"},
        {{"copy", "OWN", "COPIED", "--set", "dies=3"}, "COPIED"},
        {{"set", "COPIED", "sdm.program[1].command=0x50"}, "COPIED"},
        {{"import", file}, "IMPORTED"},
        {{"template", "save", "T", "--from", "OWN"}, "template_T"},
    };
    for (const auto& [command, name] : rows) {
        SCOPED_TRACE(joined(command));
        arguments dry = command;
        dry.emplace_back("--dry-run");
        const auto before = disk();
        const std::string shown = zorva(dry).out;
        EXPECT_EQ(disk(), before);
        EXPECT_EQ(zorva(command).code, 0);
        EXPECT_EQ(shown, bytes_of(own_file(name)));
    }
    const auto before = disk();
    EXPECT_EQ(zorva("rm OWN --dry-run").out, own_file("OWN") + "\n");
    EXPECT_EQ(zorva("template rm T --dry-run").code, 0);
    EXPECT_EQ(disk(), before);
}

TEST_F(ToolWriteTest, ActsWhereTheDefinitionInForceStands) {
    const std::string shared =
        write_installed("pgm_flash_SHARED.xml", document(devices("A|B") + user_template("T")));
    const tool_answer moved = zorva("set A dies=3");
    EXPECT_EQ(moved.out, m_xml_dir + "pgm_flash_A.xml\n");
    EXPECT_TRUE(contains(moved.err, shared + " no longer defines it."));
    EXPECT_EQ(zorva("where B --format names").out, shared + "\n");

    write_custom("pgm_flash_SHADOW.xml", document(devices("SHIP_A")));
    EXPECT_EQ(zorva("set SHIP_A dies=7").code, 0) << "the shadow is the user's own";
    EXPECT_EQ(field("SHIP_A", "dies"), "7\n");
    const tool_answer removed = zorva("rm SHIP_A");
    EXPECT_TRUE(contains(removed.err, "SHIP_A is what " + m_shipped_file + ":")) << removed.err;
    EXPECT_EQ(field("SHIP_A", "origin"), "shipped\n");
}

// Storing a device takes its other definitions out of the files, also those that are refused.
TEST_F(ToolWriteTest, TakesNoNameThatAFileDefinesInVain) {
    const std::string bad = device({.name = "MINE", .density = "5Mb"}) + user_template("T");
    const std::string file = write_custom("pgm_flash_MINE.xml", document(bad));
    for (const char* command : {"copy SHIP_A MINE", "copy SHIP_A MINE --to installation",
                                "template save T --from SHIP_A"}) {
        const auto before = disk();
        const tool_answer answer = zorva(command);
        EXPECT_EQ(answer.code, 1) << command;
        EXPECT_TRUE(contains(answer.err, "is defined in " + file + ":")) << answer.err;
        EXPECT_EQ(disk(), before);
    }
}

TEST_F(ToolWriteTest, TellsWhyAChangeCantBeWritten) {
    write_custom("pgm_flash_MINE.xml", document(devices("MINE")));
    write_custom("pgm_flash_OWN.xml", "<junk");
    write_custom("pgm_flash_1.xml", document(devices("TWICE")));
    write_custom("pgm_flash_2.xml", document(devices("TWICE")));
    fs::create_directory(own_file("template_T"));
    const std::string several = m_root + "several.xml";
    write_file(several, document(devices("FIRST") + user_template("T")));
    struct row {
        arguments command;
        int code;
        std::string sentence;
    };
    const row rows[] = {
        {{"copy", "SHIP_A", "OWN"},
         3,
         own_file("OWN") + " isn't a file of the database: line 1: The root element is junk"},
        {{"import", several}, 3, own_file("template_T") + " isn't a file of the database: Is a"},
        {{"rm", "SHIP_A"}, 4, "SHIP_A is a shipped device"},
    };
    for (const row& row : rows)
        for (const bool is_dry : {false, true}) {
            arguments command = row.command;
            if (is_dry) command.emplace_back("--dry-run");
            SCOPED_TRACE(joined(command));
            const auto before = disk();
            const tool_answer answer = zorva(command);
            EXPECT_EQ(answer.code, row.code);
            EXPECT_TRUE(contains(answer.err, row.sentence)) << answer.err;
            EXPECT_EQ(contains(answer.err, "Nothing has changed."), row.code == 3) << answer.err;
            EXPECT_EQ(disk(), before);
        }
    struct : pgm_host::file_system {
        bool write(const std::string&, std::string_view) override {
            error = std::make_error_code(std::errc::no_space_on_device);
            return false;
        }
    } full;
    pgm_host::set_file_system(&full);
    const tool_answer answer = zorva("set MINE dies=2");
    pgm_host::set_file_system(nullptr);
    EXPECT_EQ(answer.code, 3);
    EXPECT_TRUE(contains(answer.err,
                         own_file("MINE") + " can't be written: No space left on device. Nothing"))
        << answer.err;
}

// What a file defines in vain is in the way: it can be removed, and what remains is told.
TEST_F(ToolWriteTest, RemovesWhatIsntInForce) {
    const std::string bad = write_custom(
        "pgm_flash_1.xml", document(device({.name = "BAD", .density = "5Mb"}) + devices("BEHIND")));
    EXPECT_EQ(zorva("rm BAD").out, bad + "\n");
    EXPECT_EQ(zorva("list --origin custom --format names").out, "BEHIND\n");
    const std::string second = write_custom("pgm_flash_2.xml", document(devices("BEHIND")));
    const tool_answer removed = zorva("rm BEHIND");
    EXPECT_TRUE(contains(removed.err, "BEHIND is what " + second + " says from now on."));
    EXPECT_EQ(zorva("rm BEHIND").code, 0);
    EXPECT_EQ(zorva("rm BEHIND").code, 1);

    const std::string legacy = write_custom("pgm_flash_LEG.xml", document(devices("LEG_LOW")));
    const tool_answer changed = zorva("set LEG_LOW dies=2");
    EXPECT_EQ(changed.code, 0) << changed.err;
    EXPECT_TRUE(contains(changed.err, "LEG_LOW is the name of a legacy device, too"));
    EXPECT_EQ(zorva("rm LEG_LOW").out, own_file("LEG_LOW") + "\n");
    EXPECT_EQ(zorva("rm LEG_LOW").code, 4);
}

// Each process takes the whole command line's way, from the load on.
TEST_F(ToolWriteTest, SeveralAtOnceLoseNothing) {
    // All have loaded before the first of them stores.
    struct : pgm_host::file_system {
        std::unique_ptr<pgm_host::directory_lock> lock(const std::string& directory,
                                                       pgm_host::lock_kind kind,
                                                       std::chrono::milliseconds wait) override {
            constexpr std::chrono::milliseconds others_load{100};
            if (kind == pgm_host::lock_kind::exclusive) std::this_thread::sleep_for(others_load);
            return file_system::lock(directory, kind, wait);
        }
    } slow;
    pgm_host::set_file_system(&slow);
    std::vector<std::function<int()>> makers;
    for (int i = 0; i < 8; ++i)
        makers.emplace_back([&] {
            arguments command = new_device;
            command[1] = "SAME";
            const tool_answer answer = zorva(command);
            return answer.code != 1 || contains(answer.err, "'SAME' is invalid as it already exist")
                       ? answer.code
                       : 9;
        });
    std::vector<int> codes = all_at_once(makers);
    std::ranges::sort(codes);
    EXPECT_EQ(codes, (std::vector<int>{0, 1, 1, 1, 1, 1, 1, 1}));

    std::vector<std::function<int()>> setters;
    for (const char* assignment :
         {"dies=5", "dummy=1", "dummy-x4=2", "density=1Mb", "voltage=3.3V"})
        setters.emplace_back([=] { return zorva({"set", "SAME", assignment}).code; });
    EXPECT_EQ(all_at_once(setters), std::vector<int>(setters.size()));
    EXPECT_EQ(field("SAME", "dies") + field("SAME", "dummy") + field("SAME", "dummy-x4") +
                  field("SAME", "density") + field("SAME", "voltage"),
              "5\n1\n2\n1Mb\n3.0V/3.3V\n");
    pgm_host::set_file_system(nullptr);
}

TEST_F(ToolWriteTest, MakesTheDefaultDirectory) {
    const std::string junk = write_custom("pgm_flash_OWN.xml", "<junk");
    tool_answer answer;
    ::unsetenv("ZORVA_CUSTOM_DIR");
    const std::string directory = m_root + ".local/share/zorva/";
    zorva("copy SHIP_A OWN --dry-run");
    EXPECT_FALSE(fs::exists(directory));
    answer = zorva("copy SHIP_A OWN");
    EXPECT_EQ(answer.out, directory + "pgm_flash_OWN.xml\n");
    EXPECT_EQ(answer.err, "Made the custom directory " + directory + ".\n");

    ::setenv("XDG_DATA_HOME", junk.c_str(), 1);
    answer = zorva("copy SHIP_A TWO");
    EXPECT_EQ(answer.code, 3);
    EXPECT_TRUE(contains(answer.err, "error: The custom directory " + junk + "/zorva/"));
    ::unsetenv("XDG_DATA_HOME");
    ::unsetenv("HOME");
    EXPECT_EQ(zorva("copy SHIP_A TWO").code, 3) << "there is no custom directory at all";
    EXPECT_EQ(zorva("copy SHIP_A TWO --to installation").code, 0);
}

// Bad answers are asked for again, what was given isn't asked for.
TEST_F(ToolWriteTest, AsksForWhatIsMissing) {
    const auto answered = [](const std::string& answers, const arguments& command) {
        std::istringstream in(answers);
        std::ostringstream out;
        std::ostringstream err;
        const int code = zorva_tool::run(command, {out, err, true, true, &in});
        return tool_answer{code, out.str(), err.str()};
    };
    const std::string answers =
        "bad name\nSHIP_A\nOWN\n0x01\n3Mb\n64Mb\n1.8V\nnone\n1\n16\n15\nIss\nIssi\n";
    const tool_answer made = answered(answers, {"new", "--dummy", "0"});
    EXPECT_EQ(made.out, own_file("OWN") + "\n") << made.err;
    for (const char* text : {"1024Mb, 2048Mb): Device density '3Mb' is invalid.\nDensity (1Mb, ",
                             "(1.8V or 3.0V/3.3V)", "Dies (1 or more): 'none' is no number.\nDies",
                             "x4 (0 to 15): ", "Winbond, Issi): "})
        EXPECT_TRUE(contains(made.err, text)) << text << "\n" << made.err;
    EXPECT_FALSE(contains(made.err, "Dummy cycles ("));
    EXPECT_EQ(field("OWN", "dummy-x4") + field("OWN", "template"), "15\nIssi\n");

    EXPECT_EQ(answered("TWO\n0x01\n", {"new"}).code, 2) << "the input ends";
    const tool_answer bad = answered("", {"new", "TWO", "--dies", "0"});
    EXPECT_EQ(bad.code, 1);
    EXPECT_FALSE(contains(bad.err, "): ")) << "nothing is asked behind a bad option";
}

TEST_F(ToolWriteTest, TellsOfAnIdThatAFlowContradicts) {
    const std::string check = replaced(
        replaced(action(ZORVA_ACT_TYPE_READ_REGISTER), "0x05", "0x9F"), "0x00", "0xef 0x40");
    write_custom("pgm_flash_OWN.xml",
                 document(device({.name = "OWN", .id = "0xEF 0x40 0x18", .flow = flows(check)})));
    EXPECT_EQ(zorva("set OWN dies=1").err, "");
    const tool_answer answer = zorva({"set", "OWN", "id=0xEF 0x60 0x18"});
    EXPECT_EQ(answer.code, 0);
    EXPECT_TRUE(contains(answer.err, "but sfl.program[1].expected_data is another one"));
    for (const char* agreeing : {"0xEF 0x60", "0xef 0x60 0x18 0x4D", ""})
        EXPECT_EQ(
            zorva({"set", "OWN", std::string("sfl.program[1].expected_data=") + agreeing}).err, "");
}

TEST_F(ToolWriteTest, WritesSdmmcDevicesWhereTheyAreSwitchedOn) {
    const std::string file = m_root + "card.xml";
    write_file(file, "<SDMMC_FLASH version=\"1\">" + card("IMPORTED") + "</SDMMC_FLASH>");
    write_installed("pgm_flash_db_sdmmc.xml",
                    "<SDMMC_FLASH version=\"1\">" + card("CARD") + "</SDMMC_FLASH>");
    expect_refused({"import", file}, 1,
                   "SD/MMC devices are switched off; 'zorva config set "
                   "pgm_enable_sdmmc on'");
    pgm_host::set_setting("pgm_enable_sdmmc", true);
    const arguments made = {"new",       "OWN",  "--interface", "sdmmc",
                            "--voltage", "1.8V", "--density",   "16GB"};
    for (const arguments& command :
         {made, arguments{"copy", "CARD", "OWN"}, arguments{"set", "CARD", "density=1GB"},
          arguments{"rm", "CARD"}, arguments{"import", file}})
        expect_refused(command, 1,
                       "Your own SD/MMC devices are switched off; 'zorva config set "
                       "pgm_enable_custom_sdmmc on'");
    pgm_host::set_setting("pgm_enable_custom_sdmmc", true);

    EXPECT_EQ(zorva(made).out, own_file("OWN") + "\n");
    EXPECT_EQ(zorva("set OWN density=8GB").code, 0);
    EXPECT_EQ(zorva("copy OWN TWO --set density=4GB").code, 0);
    EXPECT_EQ(zorva("import " + file).code, 0);
    EXPECT_EQ(field("OWN", "density") + field("TWO", "density"), "8GB\n4GB\n");
    EXPECT_EQ(zorva("rm TWO").code, 0);
    const std::string lacks = "SD/MMC devices have a name, an I/O voltage and a density only";
    for (const char* assignment :
         {"id=0x20", "dies=1", "template=Micron", "sdm.program[1].delay=1"})
        expect_refused({"set", "OWN", assignment}, 1, lacks);
    expect_refused({"template", "save", "T", "--from", "OWN"}, 1, lacks);
    expect_refused({"template", "show", "Issi", "--interface", "sdmmc"}, 1, lacks);
    expect_refused({"identify", "0x20", "--interface", "sdmmc"}, 1, lacks);
    expect_refused({"templates", "--interface", "sdmmc"}, 1, lacks);
    expect_refused({"show", "OWN", "--flow", "sdm"}, 1, lacks);
    expect_refused({"rm", "CARD"}, 4, "CARD is a shipped device");
    expect_refused({"copy", "SHIP_A", "OWN"}, 1, "'OWN' is the name of a device of the SD/MMC");

    write_custom("pgm_flash_TWIN.xml", document(devices("OWN")));
    expect_refused({"rm", "OWN"}, 1, "More than one interface knows a device 'OWN'");
    EXPECT_EQ(zorva("rm OWN --interface qspi").out, m_custom_dir + "pgm_flash_TWIN.xml\n");
    EXPECT_EQ(field("OWN", "interface"), "SD/MMC\n");
}

}  // namespace
