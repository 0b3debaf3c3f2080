// What a manager answers behind a change, and which records a change ends.
#include "pgm/zorva/zorva_change.h"
#include "tests/store_support.h"

#include <algorithm>
#include <optional>

namespace {

using enum ZORVA_DEFINITION_KIND;
constexpr auto is_new = ZORVA_BASIS::NEW;

// The ways by which a device of that ID and of 64 Mbit is found.
std::string found_by(ZORVA_MGR& mgr, const std::string& name, dword id) {
    ZORVA_FLASH* of_density = mgr.get_flash_with_density(8 << 20);
    const names listed = device_names(mgr);
    names ways;
    if (mgr.get_flash(name, true)) ways.emplace_back("name");
    if (mgr.get_flash_with_id(id, 0xFF)) ways.emplace_back("ID");
    if (of_density && of_density->get_name() == name) ways.emplace_back("density");
    if (!mgr.get_flash_file(name).empty()) ways.emplace_back("file");
    ways.insert(ways.end(), std::ranges::count(listed, name), "list");
    return joined(ways);
}

class StoreMapsTest : public StoreTest {
  protected:
    // A change as run() makes it, or "remove X", or "define X" as a new device.
    bool change(ZORVA_MGR& mgr, const std::string& text) const {
        const std::string name = text.substr(text.find(' ') + 1);
        if (text.starts_with("remove"))
            return mgr.remove_definition({DEVICE, name}, mgr.get_flash_file(name));
        if (!text.starts_with("define")) return run(mgr, text);
        return mgr.store_definitions({{DEVICE, new_record(mgr, name), is_new}}, m_custom_dir);
    }
};

TEST_F(StoreMapsTest, LookUpsFollowEachChange) {
    const std::string all = "name ID density file list";
    ZORVA_QSPI_MGR mgr;
    ZORVA_FLASH* second = new_record(mgr, "X", "0x78");
    EXPECT_EQ(found_by(mgr, "X", 0x78), "");
    EXPECT_TRUE(update(mgr, "X"));
    EXPECT_EQ(found_by(mgr, "X", 0x77), all);
    EXPECT_TRUE(mgr.update_db(second, m_custom_dir));
    EXPECT_EQ(found_by(mgr, "X", 0x77), "name density file list");
    EXPECT_EQ(found_by(mgr, "X", 0x78), all);
    EXPECT_TRUE(run(mgr, "delete X"));
    EXPECT_EQ(found_by(mgr, "X", 0x78), "");
    EXPECT_TRUE(change(mgr, "define X") && change(mgr, "add T"));
    EXPECT_EQ(found_by(mgr, "X", 0x77), all);
    EXPECT_EQ(changed(loaded(), answers(mgr)), names{});
    EXPECT_TRUE(change(mgr, "remove X"));
    EXPECT_TRUE(mgr.remove_definition({TEMPLATE, "T"}, own_file("template_T")));
    EXPECT_EQ(found_by(mgr, "X", 0x77) + joined(mgr.get_user_template_list()), "");
}

// The record last handed out is asked by a check; it mustn't be one that is gone.
TEST_F(StoreMapsTest, ARecordThatGoesIsNoMoreTheOneHandedOut) {
    const auto uses = ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE;
    for (const std::string way : {"replace", "delete X", "remove X"})
        for (const std::string asked : {"X", "Y"}) {
            SCOPED_TRACE(way + ", last asked for " + asked);
            put_files(m_custom_dir, {});
            ZORVA_QSPI_MGR mgr;
            for (const char* name : {"X", "Y"}) {
                ASSERT_TRUE(update(mgr, name));
                mgr.get_flash(name, true)->set_parameter_value(uses, "Its_own");
            }
            const lifetime old(*mgr.get_flash("X", true));
            ZORVA_FLASH* other = new_record(mgr, "X");
            ASSERT_TRUE(mgr.get_flash(asked, true));
            EXPECT_TRUE(way == "replace" ? mgr.update_db(other, m_custom_dir) : change(mgr, way));
            EXPECT_TRUE(old.is_over());
            EXPECT_EQ(mgr.is_parameter_valid(uses, "Its_own", nullptr), asked == "Y");
        }
}

TEST_F(StoreMapsTest, ARecordLivesAsLongAsPromised) {
    std::optional<ZORVA_QSPI_MGR> mgr(std::in_place);
    const lifetime shadowed(*mgr->get_flash("SHIP_A", true));
    ZORVA_FLASH* shadow = new_record(*mgr, "SHIP_A");
    const lifetime never_stored(*new_record(*mgr, "NEW"));
    EXPECT_TRUE(mgr->update_db(shadow, m_custom_dir));
    EXPECT_TRUE(mgr->update_db(shadow, m_custom_dir)) << "the very record that is stored";
    const lifetime in_force(*shadow);
    EXPECT_EQ(mgr->get_flash("SHIP_A", true), shadow);
    EXPECT_FALSE(shadowed.is_over()) << "out of reach, but a caller may hold it";
    EXPECT_EQ(ZORVA_QSPI_MGR().get_flash("SHIP_A", true)->get_density(), "64Mb");
    EXPECT_FALSE(in_force.is_over());
    EXPECT_TRUE(mgr->delete_db("SHIP_A", m_custom_dir));
    EXPECT_TRUE(in_force.is_over());
    EXPECT_EQ(mgr->get_flash("SHIP_A", true), nullptr) << "until the next load";
    EXPECT_EQ(ZORVA_QSPI_MGR().get_flash("SHIP_A", true)->get_density(), "128Mb");
    EXPECT_FALSE(never_stored.is_over());
    mgr.reset();
    EXPECT_TRUE(shadowed.is_over() && never_stored.is_over());
}

// What another process, or a user, has taken out of a file leaves the maps with the next change of
// that file, whatever the change; who holds the record may go on.
TEST_F(StoreMapsTest, DefinitionsTakenOutByOthersAreForgotten) {
    const std::string file = "pgm_flash_1.xml";
    const struct {
        const char *devices, *change;
    } rows[] = {{"1|X", "store 1"}, {"X", "store 1"}, {"X", "store X"}, {"X", "define 1"},
                {"X", "delete X"},  {"X", "drop T"},  {"X", "remove X"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.change + std::string(" beside ") + row.devices);
        const std::string kept = devices(row.devices) + user_template("T");
        const std::string gone_too = device({.name = "GONE", .id = "0x99"}) + user_template("GONE");
        put_files(m_custom_dir, {{file, document(kept + gone_too)}});
        ZORVA_QSPI_MGR mgr;
        const lifetime gone(*mgr.get_flash("GONE", true));
        write_custom(file, document(kept));
        EXPECT_TRUE(change(mgr, row.change));
        EXPECT_EQ(found_by(mgr, "GONE", 0x99), "");
        EXPECT_FALSE(gone.is_over());
        EXPECT_EQ(changed(loaded(), answers(mgr)), names{});
    }
}

// A record has one owner and one name, whatever it was called when it was stored.
TEST_F(StoreMapsTest, ARecordThatIsRenamedIsStoredUnderItsNewNameOnly) {
    for (const char* new_name : {"NEW", "C"}) {
        SCOPED_TRACE(new_name);
        put_files(m_custom_dir, {{"pgm_flash_C.xml", document(devices("C"))}});
        ZORVA_QSPI_MGR mgr;
        ZORVA_FLASH* record = new_record(mgr, "OLD");
        ASSERT_TRUE(mgr.update_db(record, m_custom_dir));
        record->set_name(new_name);
        ASSERT_TRUE(mgr.update_db(record, m_custom_dir));
        EXPECT_EQ(mgr.get_flash(new_name, true), record);
        EXPECT_EQ(mgr.get_flash("OLD", true), nullptr) << "its file comes with the next load";
        EXPECT_TRUE(loaded().contains("device OLD"));
        EXPECT_TRUE(run(mgr, "delete OLD"));
        EXPECT_FALSE(loaded().contains("device OLD"));
        EXPECT_EQ(mgr.get_flash_with_id(0x77, 0xFF), record);
        EXPECT_TRUE(mgr.delete_db(new_name, m_custom_dir));
        EXPECT_EQ(mgr.get_flash(new_name, true), nullptr);
    }
}

// What the custom directory overrides can't be changed by name; its definition can be taken out.
TEST_F(StoreMapsTest, AnOverriddenDeviceIsLeftAlone) {
    const std::string both = document(devices("X|A"));
    const std::string installed = write_installed("pgm_flash_1.xml", both);
    write_custom("pgm_flash_2.xml", document(devices("X|B")));
    ZORVA_QSPI_MGR mgr;
    const texts before = answers(mgr);
    const std::string fault =
        "Found same flash exist in the current directory but attempting to delete the flash in "
        "kestrin directory.";
    for (const char* change : {"delete X in installation", "store X in installation"})
        EXPECT_EQ(internal_error_of([&] { run(mgr, change); }), fault);
    EXPECT_TRUE(run(mgr, "delete A")) << "nothing to delete there";
    const ZORVA_FLASH* override = mgr.get_flash("X", true);
    EXPECT_TRUE(mgr.try_removal({DEVICE, "X"}, installed));
    EXPECT_EQ(bytes_of(installed), both);
    EXPECT_TRUE(mgr.remove_definition({DEVICE, "X"}, installed));
    EXPECT_EQ(bytes_of(installed).find(">X<"), std::string::npos);
    EXPECT_EQ(mgr.get_flash("X", true), override);
    EXPECT_EQ(changed(before, answers(mgr)), names{});
    EXPECT_EQ(changed(before, loaded()), names{});
}

TEST_F(StoreMapsTest, ARemovalTellsByWhichFileTheNameLivesOn) {
    const std::string x = devices("X");
    const std::string bad = device({.name = "X", .density = "5Mb"});
    const struct {
        const char *what, *file, *lives_on_in;
        texts files;
    } rows[] = {
        {"a repeated name", "1", "2", {{"1", x}, {"2", devices("X|A")}}},
        {"not read there", "3", "", {{"0", devices("A")}, {"2", devices("A|X")}, {"3", x}}},
        {"refused there", "1", "", {{"1", x}, {"2", bad}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        put_files(m_custom_dir, {});
        for (const auto& [name, bytes] : row.files) write_file(own_file(name), document(bytes));
        ZORVA_QSPI_MGR mgr;
        const std::string expected = *row.lives_on_in ? own_file(row.lives_on_in) : "";
        EXPECT_TRUE(mgr.try_removal({DEVICE, "X"}, own_file(row.file)));
        EXPECT_EQ(mgr.get_change_outcome().lives_on_in, expected);
        EXPECT_TRUE(mgr.remove_definition({DEVICE, "X"}, own_file(row.file)));
        EXPECT_EQ(mgr.get_change_outcome().lives_on_in, expected);
        EXPECT_EQ(ZORVA_QSPI_MGR().get_flash_file("X"), expected);
    }
}

// A document of another place, as records that can be stored here.
TEST_F(StoreMapsTest, AnImportedDocumentIsTakenWhole) {
    const std::string other = flows(action(ZORVA_ACT_TYPE_ERASE), action(ZORVA_ACT_TYPE_READ_DATA));
    const std::string x = device({.name = "X", .flow = other});
    const std::string t = user_template("T", other);
    const std::string bad = device({.name = "BAD", .density = "5Mb"});
    const std::string u_and_y = user_template("U") + devices("Y");
    ZORVA_QSPI_MGR mgr;
    const auto read =
        mgr.read_document(document(t + golden_template() + x + bad + u_and_y), "mail.xml");
    names defined;
    for (const ZORVA_NEW_DEFINITION& definition : read.definitions) {
        ZORVA_FLASH& of = *definition.flash;
        EXPECT_EQ(definition.basis, is_new);
        defined.push_back(definition.kind == DEVICE
                              ? of.get_name()
                              : of.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME));
    }
    EXPECT_EQ(joined(defined), "X Y T U");
    EXPECT_EQ(read.report.path, "mail.xml");
    EXPECT_TRUE(mgr.read_document("<junk", "mail.xml").definitions.empty());
    EXPECT_TRUE(mgr.try_definitions(read.definitions, m_custom_dir));
    EXPECT_TRUE(mgr.try_definitions({read.definitions.front()}, m_custom_dir));
    EXPECT_EQ(files_in(m_custom_dir), texts{});
    EXPECT_TRUE(mgr.store_definitions(read.definitions, m_custom_dir));
    EXPECT_EQ(changed(loaded(), answers(mgr)), names{});
    put_files(m_custom_dir,
              {{"pgm_flash_X.xml", document(t + x)}, {"pgm_flash_Y.xml", document(u_and_y)}});
    EXPECT_EQ(changed(loaded(), answers(mgr)), names{});
}

}  // namespace
