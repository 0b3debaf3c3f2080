// The programmer's common framework: XML documents as element trees, directories and conversions.
#pragma once

#include "pgm/h/pgm_common_xml_description.h"
#include "services/types.h"

#include <string>
#include <string_view>

// Numbers of the document kinds.
enum PGM_COMMON_XML_FILE_ENUM { PGM_COMMON_XML_FILE_QSPI = 2, PGM_COMMON_XML_FILE_SDMMC = 3 };

// What the framework has to know of a document kind; whoever owns the element classes registers it.
struct PGM_COMMON_XML_DOCUMENT {
    PGM_COMMON_XML_FILE_ENUM kind;
    const PGM_COMMON_XML_DESCRIPTION* root;  // and through it all that stands below the root
    const char* schema;                      // file name of the schema, as "zorva_qspi.xsd"
};

class PGM_COMMON_XML {
  public:
    // Makes a document kind known while the registrar lives.
    class REGISTRAR {
      public:
        explicit REGISTRAR(const PGM_COMMON_XML_DOCUMENT& document);
        ~REGISTRAR();
        REGISTRAR(const REGISTRAR&) = delete;
        REGISTRAR& operator=(const REGISTRAR&) = delete;

      private:
        PGM_COMMON_XML_FILE_ENUM m_kind;
    };

    // Reads `xml_file` and checks it against the schema. Both texts empty: it is good, and what
    // was read is kept for the one parse_xml of the same file that follows. `first_text` tells of
    // a file that can't be read, isn't well formed or is refused whole; `second_text` of one that
    // breaks the schema, one line a breach. Each line reads "FILE:LINE: reason".
    static void check_xsd(std::string xml_file, std::string xsd_file, std::string& first_text,
                          std::string& second_text);

    // The tree of a file: of exactly what check_xsd read, if it has just passed this file, else of
    // the file as it stands now (checked against the schema unless `shipped`). The result points
    // at a PGM_COMMON_XML_ELEMENT that the caller owns; null for a file that can't be taken, with
    // the reason on the trace. A shipped file's child counts aren't checked; an element of it that
    // stands below one that can't hold it is an internal error.
    static void* parse_xml(PGM_COMMON_XML_FILE_ENUM kind, std::string xml_file,
                           std::string xsd_file, bool shipped, std::string, std::string,
                           std::string);

    // A new element of a document kind; null for a tag that the kind doesn't know.
    static std::unique_ptr<PGM_COMMON_XML_ELEMENT> new_element(PGM_COMMON_XML_FILE_ENUM kind,
                                                               PGM_COMMON_XML_ENUM tag);
    // A new root of a document kind, with the default values of its attributes.
    static std::unique_ptr<PGM_COMMON_XML_ELEMENT> new_root(PGM_COMMON_XML_FILE_ENUM kind);

    // The bytes of a file that holds the tree. None for a text that XML can't hold, or a comment
    // that wouldn't come back as it is.
    static std::string write_bytes(const PGM_COMMON_XML_ELEMENT* root);

    // As check_xsd and parse_xml, on bytes in memory; `name` stands for the file in the texts.
    // parse_bytes and read_bytes keep the comments, for who writes the tree again; parse_xml
    // doesn't. parse_bytes doesn't ask the schema.
    static void check_bytes(std::string_view bytes, std::string name, std::string xsd_file,
                            std::string& first_text, std::string& second_text);
    static void* parse_bytes(PGM_COMMON_XML_FILE_ENUM kind, std::string_view bytes,
                             std::string name);
    // Both in one pass: null where one of the texts isn't empty.
    static void* read_bytes(std::string_view bytes, std::string name, std::string xsd_file,
                            std::string& first_text, std::string& second_text);

    // The name of the root element, whatever follows its start tag and whatever the encoding; empty
    // where none can be found. A DOCTYPE ends the search.
    static std::string root_name(std::string_view bytes);
};

class PGM_COMMON {
  public:
    // The directory in which xml/ and xsd/ lie, with a closing slash: set by the host, else
    // $PGM_COMMON_PROGRAMMER_DIR, else found from where this library lies, else the build tree's.
    static std::string pgm_get_common_programmer();

    // Turns backslashes and doubled slashes into one slash, in place. A directory so treated
    // equals its FIO_PATH::full_directory().
    static void change_folder_slash(std::string& path);

    // True if the two are the same text, byte for byte.
    static bool compare_string(std::string a, std::string b, bool ignore_case);

    // The number in a text of decimal digits, or of "0x" and hexadecimal digits ("0x" alone is 0).
    // Any other character makes it no number: 0 and *ok false. A number too large is the largest
    // value and *ok false. `ok` and the fourth argument may be null.
    static qword convert_string_to_qword(std::string text, bool, bool* ok, unsigned long long*,
                                         bool);
    static dword convert_string_to_dword(std::string text, bool, bool* ok, dword*, bool);

    // The bytes of a text of hexadecimal digits, two a byte, the first digit alone where their
    // count is odd. The array comes from new unsigned char[] and is the caller's; null and *ok
    // false if the text is empty, holds another character or spells more than `limit` bytes.
    static unsigned char* convert_hex_string_to_byte_array(std::string text, dword limit,
                                                           dword* byte_size, bool, bool* ok);
};
