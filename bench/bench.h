// What the benchmarks share. Each figure is a ratio of a subject to a baseline that is measured in
// the same run, so that it tells the same on every machine.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

// Registers a ratio and the two benchmarks behind it. What is compared is the processor time of an
// iteration.
using timed = std::function<void(benchmark::State&)>;
void add_ratio(const std::string& name, double limit, const timed& subject, const timed& baseline);

// The same for two amounts that are measured otherwise.
using amount = std::function<double()>;
void add_ratio_of_amounts(const std::string& name, double limit, const amount& subject,
                          const amount& baseline);

// Each registers the ratios of one source.
void add_load_ratios();
void add_look_up_ratios();
void add_tool_ratios();

// A temporary directory in which an installation stands: the schemas, a shipped file without
// devices, and the user files that a benchmark adds.
class installation {
  public:
    installation();
    ~installation();
    installation(const installation&) = delete;
    installation& operator=(const installation&) = delete;

    // Sets the host's services to it.
    void use() const;
    // Adds a file to the installation directory.
    void add_user_file(const std::string& name, const std::string& bytes) const;

  private:
    std::string m_root;  // ends in a slash
};

// Where the shipped documents and the schemas really lie, with a closing slash.
const std::string& data_directory();
std::string read_file(const std::string& path);
std::string document(const std::string& definitions);
// A PROGRAMMING_FLOW without any action.
std::string empty_flows();
