// Refers to every function that the installed headers declare, so that one which neither library
// lets out doesn't link.
#include "pgm/zorva/zorva_helper.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "pgm/zorva/zorva_qspi_flash.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "pgm/zorva/zorva_sdmmc_flash.h"
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "services/file.h"
#include "services/host.h"
#include "services/message.h"
#include "services/pgm_common.h"
#include "services/pgmdev.h"
#include "services/settings.h"
#include "services/text.h"

#include <any>
#include <vector>

namespace {

std::vector<std::any> kept;

template <class... FUNCTION>
void keep(FUNCTION... functions) {
    (kept.emplace_back(functions), ...);
}
// One of several functions of a name.
template <class SIGNATURE>
constexpr auto one(SIGNATURE* function) {
    return function;
}
template <class SIGNATURE, class CLASS>
constexpr auto one(SIGNATURE CLASS::*function) {
    return function;
}

// The virtual functions of a class stand in the table of one derived from it, and there too those
// that it inherits.
template <class CLASS>
struct derived : CLASS {
    using CLASS::CLASS;
};
struct element : PGM_COMMON_XML_ELEMENT {
    using PGM_COMMON_XML_ELEMENT::PGM_COMMON_XML_ELEMENT;
    static void keep_all() {
        keep(&element::add_attribute, &element::init_check, &element::check_count, &element::report,
             &element::report_unsupported);
    }
};
struct described : PGM_COMMON_XML_DESCRIBED {
    described() : PGM_COMMON_XML_DESCRIBED({}, {}, nullptr) {}
    static void keep_all() {
        keep(&described::add_described_attribute, &PGM_COMMON_XML_DESCRIPTION::find_child);
    }
};
struct flash : ZORVA_QSPI_FLASH {
    static void keep_all() {
        keep(&flash::reserve_operations, &flash::set_watcher, &flash::tell_watcher);
    }
};
struct action : ZORVA_QSPI_ACTION {
    static void keep_all() { keep(&action::find_value, &action::store_value); }
};
// What a manager has replaced of its base can still be called.
struct manager : ZORVA_QSPI_MGR {
    void call_base() {
        const ZORVA_FLASH_PARAM param{};
        ZORVA_MGR::is_parameter_valid(param);
        ZORVA_MGR::is_parameter_valid(param, dword{}, nullptr);
        ZORVA_MGR::is_parameter_valid(param, std::string(), nullptr);
    }
    static void keep_all() {
        keep(&manager::call_base, &manager::fill_family_info, &manager::carried_template_is_valid,
             &manager::adopt_new_flash);
    }
};

void keep_services() {
    keep(&FIO_FIND::error, &FIO_FIND::passed_over, &FIO_FILE_SYSTEM::mode, &FIO_FILE_SYSTEM::follow,
         &FIO_FILE_SYSTEM::may_change, &FIO_FILE_SYSTEM::error, &FIO_DIRECTORY_LOCK::any_is_held);
    keep(&FIO_PATH::full_directory, &FIO_PATH::fullpath,
         one<std::string() const>(&FIO_PATH::filename), one<void(std::string)>(&FIO_PATH::filename),
         &FIO_FIND::find_first, &FIO_FIND::find_next, &FIO_FILE_SYSTEM::exists,
         &FIO_FILE_SYSTEM::touch, &FIO_FILE_SYSTEM::_chmod, &FIO_FILE_SYSTEM::remove,
         &FIO_FILE_SYSTEM::rename, &FIO_FILE_SYSTEM::read, &FIO_FILE_SYSTEM::write,
         &FIO_FILE_SYSTEM::flush_directory, &FIO_FILE_SYSTEM::same_file);
    keep(&MSG_INDEX::get_default_index, &MSG_INDEX::is_suppressed, &MSG_BASE::fill_args,
         &MSG_BASE::fill_values, &MSG_BASE::set_severity_level, &MSG_BASE::set_id,
         &MSG_INTERNAL_ERROR::report, &msg_local_vdebug);
    keep(&PGMDEV_DEV_INFO_MANAGER::get_db_by_family, &PGMDEV_FLASH_MANAGER::get_default_flash);
    keep(&cfg_is_on, &cfg_get_user_ini_value, &cfg_set_user_ini_value, &cfg_write_user_ini_file,
         &gen_stricmp, &stl_toupper);
    using namespace pgm_host;
    keep(&set_message_sink, &set_trace_sink, &set_internal_error_handler, &suppress_message,
         &set_common_programmer, &common_programmer_origin, &set_setting, &set_user_ini_file,
         &user_ini_file, &store_setting, &unset_setting, &settings_faults, &set_device_table,
         &set_flash_table, &device_table, &set_file_system, &reset);
}

void keep_xml() {
    using E = PGM_COMMON_XML_ELEMENT;
    keep(&pgm_common_xml_name, &pgm_common_xml_value, &E::EXACTLY_ONE, &E::NONE_OR_ONE,
         &E::ANY_NUMBER, &E::get_child_count, &E::get_childs, &E::add_child, &E::take_first_child,
         &E::write_string, &E::write_value, &E::read_value, &E::read_value_into, &E::read_number,
         &E::read_from_text, &E::write_attribute_value, &E::write_attribute_string,
         &E::write_attribute_enum, &E::read_attribute, &E::read_attribute_from_text,
         &E::edit_comments);
    using X = PGM_COMMON_XML;
    keep(&X::check_xsd, &X::parse_xml, &X::new_element, &X::new_root, &X::write_bytes,
         &X::check_bytes, &X::parse_bytes, &X::read_bytes, &X::root_name);
    using C = PGM_COMMON;
    keep(&C::pgm_get_common_programmer, &C::change_folder_slash, &C::compare_string,
         &C::convert_string_to_qword, &C::convert_string_to_dword,
         &C::convert_hex_string_to_byte_array);
    element::keep_all();
    described::keep_all();
}

void keep_database() {
    using A = ZORVA_ACTION;
    using O = ZORVA_OPERATION;
    using M = ZORVA_MGR;
    using P = ZORVA_FLASH_PARAM;
    using J = std::optional<ZORVA_FINDING>;
    using F = DEV_FAMILY_ENUM;
    using S = PGMIO_CONFIG_SCHEME;
    using T = std::string;
    keep(&ZORVA_TEXT::get, one<A&(const A&)>(&A::operator=), &A::get_name, &A::set_name,
         &A::get_property_enum_list, &A::find_property, &A::get_property_kind,
         &A::get_property_range, &A::judge_property_value, &O::get_name, &O::set_name,
         &O::get_operation_description);
    keep(&M::get_db_kestrin_dir, &M::get_db_custom_dir, &M::set_db_custom_dir,
         &M::get_custom_dir_from_ini, &M::save_custom_dir_to_ini,
         &M::convert_data_list_string_to_byte_array, &M::get_flash_list_with_id,
         &M::get_family_info, &M::get_flash_file, &M::get_flash_document, &M::get_message_list,
         &M::store_definitions, &M::remove_definition, &M::try_definitions, &M::try_removal,
         &M::get_change_outcome, &M::read_document, &M::get_load_report, &M::get_definition_file,
         &M::get_file_mask, one<J(P, const T&) const>(&M::judge_parameter),
         one<J(P, dword) const>(&M::judge_parameter), &ZORVA_QSPI_MGR::get_template_document,
         &ZORVA_QSPI_MGR::get_parameter_range, &ZORVA_QSPI_MGR::judge_files,
         &ZORVA_QSPI_MGR::judge_bytes, &ZORVA_SDMMC_MGR::judge_files,
         &ZORVA_SDMMC_MGR::judge_bytes);
    using H = ZORVA_HELPER;
    keep(&H::find_document_family, &H::get_shipped_file);
    keep(&H::get_helper, &H::get_active_flash_manager,
         one<M*(T, bool, bool)>(&H::get_flash_manager), one<M*(F, bool)>(&H::get_flash_manager),
         one<M*(S, bool)>(&H::get_flash_manager), one<bool(T, F, bool, bool)>(&H::is_zorva_flash),
         one<bool(T, S, bool, bool)>(&H::is_zorva_flash),
         one<bool(T, bool, bool)>(&H::is_zorva_flash), one<bool(F)>(&H::is_supported_family),
         one<bool(F, F)>(&H::is_supported_family), &H::is_supported_mode,
         &H::refresh_flash_managers, one<bool(F)>(&H::set_active_flash_family),
         one<bool(S)>(&H::set_active_flash_family), &H::clear, &H::refresh,
         one<M*(T, bool, bool)>(&H::get_manager), one<M*(F, bool)>(&H::get_manager),
         one<M*(S, bool)>(&H::get_manager), &H::get_manager_list);
    flash::keep_all();
    action::keep_all();
    manager::keep_all();
}

// Constructors and destructors have no address.
[[maybe_unused]] void make_all() {
    const FIO_PATH path("");
    FIO_FIND find("");
    const FIO_DIRECTORY_LOCK lock("", FIO_DIRECTORY_LOCK::SHARED, {});
    derived<pgm_host::file_system> disk;
    const MSG_ID_REGISTRAR ids(nullptr, nullptr, 0);
    derived<MSG_W> warning(nullptr);
    derived<MSG_E> error(nullptr);
    derived<MSG_W_NULL> nothing;
    PGMDEV_DEV_INFO_MANAGER families(false, 0);
    const PGMDEV_FLASH_MANAGER flashes(true, 1, false, false);
    const PGM_COMMON_XML::REGISTRAR registrar(PGM_COMMON_XML_DOCUMENT{});
    const PGM_XML_ATTRIBUTE attribute("", {}, {}, "", "", nullptr);
    delete new element({}, {}, {}, {}, "", "", nullptr);
    delete new described();
    ZORVA_TEXT text("");
    text = ZORVA_TEXT(text);  // refers and releases
    derived<ZORVA_QSPI_ACTION> one_action(ZORVA_ACT_TYPE_ERASE);
    derived<ZORVA_QSPI_OPERATION> operation(ZORVA_OP_TYPE_ERASE);
    const derived<ZORVA_QSPI_OPERATION> copy(operation);
    derived<ZORVA_QSPI_FLASH> qspi("");
    derived<ZORVA_SDMMC_FLASH> sdmmc("");
    const ZORVA_USER_FLASH_TEMPLATE flows;
    derived<ZORVA_QSPI_MGR> qspi_mgr;
    derived<ZORVA_SDMMC_MGR> sdmmc_mgr;
    const ZORVA_HELPER helper;
}

}  // namespace

int main() {
    keep_services();
    keep_xml();
    keep_database();
    keep(&make_all);
    return kept.empty() ? 1 : 0;
}
