// The message service: registered messages, internal errors and debug traces.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Kinds of a posted message.
enum MSG_POST_TYPE { MSG_POST_ERROR = 0, MSG_POST_WARNING = 2 };

// Level of a debug trace; the library uses level 2 only.
using MSG_D_LEVEL = int;

class MSG_REPORT;  // a report to collect messages in; the library always passes null

// Registers message ids and their types for as long as it lives. Both tables have `count`
// entries and must outlive the registrar.
class MSG_ID_REGISTRAR {
  public:
    MSG_ID_REGISTRAR(const unsigned* ids, const MSG_POST_TYPE* types, std::size_t count);
    ~MSG_ID_REGISTRAR();
    MSG_ID_REGISTRAR(const MSG_ID_REGISTRAR&) = delete;
    MSG_ID_REGISTRAR& operator=(const MSG_ID_REGISTRAR&) = delete;

  private:
    const unsigned* m_ids;
    std::size_t m_count;
};

// Answers whether a message is suppressed. Never null, owned by the service.
class MSG_INDEX {
  public:
    static MSG_INDEX* get_default_index();
    // True: a warning with this id is not to appear.
    bool is_suppressed(unsigned id) const;
};

// Anything that can be shown. The poster owns it and deletes it after post().
class MSG_POST {
  public:
    virtual ~MSG_POST() = default;
    // Shows the message; false if it was not shown.
    virtual bool post() = 0;
};

class MSG_BASE : public MSG_POST {
  public:
    // Takes "TEXT/WNAME" or "TEXT/ENAME" and the values of TEXT's placeholders in their order:
    // %N!s! takes a const char*, %N!d! a 32-bit unsigned number. The text runs up to the last
    // slash; the letter behind it is the message's kind, the rest its name. A placeholder is
    // filled once: a value that looks like one comes out as typed.
    void fill_args(const char* format, ...);
    // The same with the values as texts, which may hold any byte; one too few reads as empty.
    void fill_values(std::string_view format, const std::vector<std::string>& values);
    // TEXT with its placeholders filled in.
    const std::string& get_text() const { return m_text; }
    void set_severity_level(int level);
    void set_id(unsigned id);

    // Hands the message to the host's sink (services/host.h).
    bool post() override;

  protected:
    explicit MSG_BASE(MSG_POST_TYPE type);

  private:
    MSG_POST_TYPE m_type;
    unsigned m_id = 0;
    int m_severity_level = 0;
    std::string m_name;
    std::string m_text;
};

class MSG_W : public MSG_BASE {
  public:
    explicit MSG_W(MSG_REPORT* report);
};

class MSG_E : public MSG_BASE {
  public:
    explicit MSG_E(MSG_REPORT* report);
};

// Stands in for a suppressed warning: can be posted and shows nothing.
class MSG_W_NULL : public MSG_BASE {
  public:
    MSG_W_NULL();
    bool post() override;
};

class MSG_INTERNAL_ERROR {
  public:
    // A broken invariant: tells the host's handler; if that returns, the process aborts.
    // `text` is the failed condition or a sentence, `file` a path in the repository.
    [[noreturn]] static void report(const char* text, const char* module, const char* file,
                                    int line);
};

// A debug trace with a printf format; never has an effect on a result.
void msg_local_vdebug(const char* module, MSG_D_LEVEL level, const char* format, va_list args);
