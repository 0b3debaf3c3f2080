// What a manager answers behind a change, and which records a change ends.
#include "pgm/zorva/zorva_change.h"
#include "tests/store_support.h"

#include <optional>

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

// The ways by which a device of that ID and of 64 Mbit is found.
std::string found_by(ZORVA_MGR& mgr, const std::string& name, dword id) {
    const auto is_it = [&](ZORVA_FLASH* flash) { return flash && flash->get_name() == name; };
    names ways;
    if (mgr.get_flash(name, true)) ways.emplace_back("name");
    if (mgr.get_flash_with_id(id, 0xFF)) ways.emplace_back("ID");
    if (is_it(mgr.get_flash_with_density(8 << 20))) ways.emplace_back("density");
    if (!mgr.get_flash_file(name).empty()) ways.emplace_back("file");
    for (const std::string& listed : device_names(mgr))
        if (listed == name) ways.emplace_back("list");
    return joined(ways);
}

class StoreMapsTest : public StoreTest {
  protected:
    // Whether the record last handed out is one that uses this template.
    static bool holds_user_of(ZORVA_MGR& mgr, const char* name) {
        return mgr.is_parameter_valid(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, name, nullptr);
    }
    ZORVA_FLASH* store(ZORVA_MGR& mgr, const std::string& name, const char* uses) {
        ZORVA_FLASH* flash = new_record(mgr, name);
        flash->set_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, uses);
        EXPECT_TRUE(mgr.update_db(flash, m_custom_dir));
        return flash;
    }
};

TEST_F(StoreMapsTest, LookUpsFollowEachChange) {
    const std::string all = "name ID density file list";
    ZORVA_QSPI_MGR mgr;
    ZORVA_FLASH* first = new_record(mgr, "X");
    ZORVA_FLASH* second = new_record(mgr, "X", "0x78");
    EXPECT_EQ(found_by(mgr, "X", 0x77), "");
    EXPECT_TRUE(mgr.update_db(first, m_custom_dir));
    EXPECT_EQ(found_by(mgr, "X", 0x77), all);
    EXPECT_TRUE(mgr.update_db(second, m_custom_dir));
    EXPECT_EQ(found_by(mgr, "X", 0x77), "name density file list");
    EXPECT_EQ(found_by(mgr, "X", 0x78), all);
    EXPECT_TRUE(mgr.delete_db("X", m_custom_dir));
    EXPECT_EQ(found_by(mgr, "X", 0x78), "");
    EXPECT_TRUE(mgr.store_definitions({{DEVICE, new_record(mgr, "X"), ZORVA_BASIS::NEW},
                                       {TEMPLATE, new_record(mgr, "", "0", "T"), ZORVA_BASIS::NEW}},
                                      m_custom_dir));
    EXPECT_EQ(found_by(mgr, "X", 0x77), all);
    EXPECT_EQ(mgr.get_user_template_list(), names{"T"});
    EXPECT_EQ(changed(loaded(), answers(mgr)), names{});
    EXPECT_TRUE(mgr.remove_definition({DEVICE, "X"}, own_file("X")));
    EXPECT_TRUE(mgr.remove_definition({TEMPLATE, "T"}, own_file("template_T")));
    EXPECT_EQ(found_by(mgr, "X", 0x77), "");
    EXPECT_EQ(mgr.get_user_template_list(), names{});
}

// The record last handed out is asked by a check; it mustn't be one that is gone.
TEST_F(StoreMapsTest, ARecordThatGoesIsNoMoreTheOneHandedOut) {
    const struct {
        const char* what;
        std::function<bool(ZORVA_MGR&, ZORVA_FLASH* other)> change;
    } rows[] = {
        {"replaced", [&](auto& mgr, auto* other) { return mgr.update_db(other, m_custom_dir); }},
        {"deleted", [&](auto& mgr, auto*) { return mgr.delete_db("X", m_custom_dir); }},
        {"removed",
         [&](auto& mgr, auto*) {
             return mgr.remove_definition({DEVICE, "X"}, own_file("X"));
         }},
    };
    for (const auto& row : rows)
        for (const char* asked : {"X", "Y"}) {
            SCOPED_TRACE(row.what + std::string(", last asked for ") + asked);
            put_files(m_custom_dir, {});
            ZORVA_QSPI_MGR mgr;
            const lifetime old(*store(mgr, "X", "Its_own"));
            store(mgr, "Y", "Its_own");
            ZORVA_FLASH* replacement = new_record(mgr, "X");
            ASSERT_TRUE(mgr.get_flash(asked, true));
            EXPECT_TRUE(row.change(mgr, replacement));
            EXPECT_TRUE(old.is_over());
            EXPECT_EQ(holds_user_of(mgr, "Its_own"), *asked == 'Y');
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
    const struct {
        const char* what;
        std::function<bool(ZORVA_MGR&)> change;
    } rows[] = {
        {"replaced in its file", [&](auto& mgr) { return update(mgr, "own"); }},
        {"added to the file", [&](auto& mgr) { return update(mgr, "1"); }},
        {"replaced out of the file", [&](auto& mgr) { return update(mgr, "X"); }},
        {"stored",
         [&](auto& mgr) {
             return mgr.store_definitions({{DEVICE, new_record(mgr, "1"), ZORVA_BASIS::NEW}},
                                          m_custom_dir);
         }},
        {"deleted", [&](auto& mgr) { return mgr.delete_db("X", m_custom_dir); }},
        {"template deleted", [](auto& mgr) { return mgr.delete_template("T"); }},
        {"removed",
         [&](auto& mgr) {
             return mgr.remove_definition({DEVICE, "X"}, own_file("1"));
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const bool is_own = row.what == rows[0].what;
        const std::string file = is_own ? "pgm_flash_own.xml" : "pgm_flash_1.xml";
        const std::string kept = devices(is_own ? "own|X" : "X") + user_template("T");
        put_files(m_custom_dir, {{file, document(kept + device({.name = "GONE", .id = "0x99"}) +
                                                 user_template("GONE"))}});
        ZORVA_QSPI_MGR mgr;
        const lifetime gone(*mgr.get_flash("GONE", true));
        write_custom(file, document(kept));
        EXPECT_TRUE(row.change(mgr));
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
        EXPECT_TRUE(mgr.delete_db("OLD", m_custom_dir));
        EXPECT_FALSE(loaded().contains("device OLD"));
        EXPECT_EQ(mgr.get_flash_with_id(0x77, 0xFF), record);
        EXPECT_TRUE(mgr.delete_db(new_name, m_custom_dir));
        EXPECT_EQ(mgr.get_flash(new_name, true), nullptr);
    }
}

// What the custom directory overrides can't be changed by name; its definition can be taken out.
TEST_F(StoreMapsTest, AnOverriddenDeviceIsLeftAlone) {
    const std::string installed = write_installed("pgm_flash_1.xml", document(devices("X|A")));
    const std::string custom = write_custom("pgm_flash_2.xml", document(devices("X|B")));
    ZORVA_QSPI_MGR mgr;
    const texts before = answers(mgr);
    const std::string fault =
        "Found same flash exist in the current directory but attempting to delete the flash in "
        "kestrin directory.";
    EXPECT_EQ(internal_error_of([&] { mgr.delete_db("X", m_xml_dir); }), fault);
    EXPECT_EQ(internal_error_of([&] { mgr.update_db(new_record(mgr, "X"), m_xml_dir); }), fault);
    EXPECT_TRUE(mgr.delete_db("A", m_custom_dir)) << "nothing to delete there";
    EXPECT_EQ(bytes_of(installed), document(devices("X|A")));
    const ZORVA_FLASH* override = mgr.get_flash("X", true);
    EXPECT_TRUE(mgr.try_removal({DEVICE, "X"}, installed));
    EXPECT_EQ(bytes_of(installed), document(devices("X|A")));
    EXPECT_TRUE(mgr.remove_definition({DEVICE, "X"}, installed));
    EXPECT_EQ(bytes_of(installed).find(">X<"), std::string::npos);
    EXPECT_EQ(mgr.get_flash("X", true), override);
    EXPECT_EQ(mgr.get_flash_file("X"), custom);
    EXPECT_EQ(changed(before, answers(mgr)), names{});
    EXPECT_EQ(changed(before, loaded()), names{});
}

TEST_F(StoreMapsTest, ARemovalTellsByWhichFileTheNameLivesOn) {
    const struct {
        const char *what, *file, *lives_on_in;
        texts files;
    } rows[] = {
        {"a repeated name", "1", "2", {{"1", devices("X")}, {"2", devices("X|A")}}},
        {"not read there",
         "3",
         "",
         {{"0", devices("A")}, {"2", devices("A|X")}, {"3", devices("X")}}},
        {"refused there",
         "1",
         "",
         {{"1", devices("X")}, {"2", device({.name = "X", .density = "5Mb"})}}},
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
    const std::string all = document(
        user_template("T", other) + golden_template() + device({.name = "X", .flow = other}) +
        device({.name = "BAD", .density = "5Mb"}) + user_template("U") + devices("Y"));
    ZORVA_QSPI_MGR mgr;
    const ZORVA_MGR::DOCUMENT read = mgr.read_document(all, "mail.xml");
    names defined;
    for (const ZORVA_NEW_DEFINITION& definition : read.definitions) {
        const bool is_device = definition.kind == DEVICE;
        EXPECT_EQ(definition.basis, ZORVA_BASIS::NEW);
        defined.push_back(
            is_device ? definition.flash->get_name()
                      : definition.flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME));
    }
    EXPECT_EQ(joined(defined), "X Y T U");
    EXPECT_EQ(read.report.path, "mail.xml");
    EXPECT_TRUE(mgr.read_document("<junk", "mail.xml").definitions.empty());
    EXPECT_TRUE(mgr.try_definitions(read.definitions, m_custom_dir));
    EXPECT_TRUE(mgr.try_definitions({read.definitions.front()}, m_custom_dir));
    EXPECT_EQ(files_in(m_custom_dir), texts{});
    EXPECT_TRUE(mgr.store_definitions(read.definitions, m_custom_dir));
    EXPECT_EQ(changed(loaded(), answers(mgr)), names{});
    const texts imported = loaded();
    put_files(m_custom_dir, {{"pgm_flash_X.xml", document(user_template("T", other) +
                                                          device({.name = "X", .flow = other}))},
                             {"pgm_flash_Y.xml", document(user_template("U") + devices("Y"))}});
    EXPECT_EQ(changed(loaded(), imported), names{});
}

}  // namespace
