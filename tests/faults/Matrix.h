// The cells of the fault matrix: which of them run, what came of each, and the table at the end.
#pragma once

#include <functional>
#include <string>
#include <vector>

class Matrix {
  public:
    struct Options {
        unsigned long long every = 1; // every so many cells one runs
        std::string neighbour;        // only this one's cells; empty: all
        std::string function;         // only the rows of this function, operation or value; empty: all
        bool verbose = false;         // names each cell on stderr before it runs
    };

    // Ends the process, with the cell's name and all stacks, when a cell crashes or does not end.
    explicit Matrix(const Options& options);
    Matrix(const Matrix&) = delete;
    Matrix& operator=(const Matrix&) = delete;

    // Opens a row of the table, and says so on stderr; its cells follow.
    void Row(const std::string& neighbour, const std::string& aspect);
    bool Wants(const std::string& neighbour) const;
    // One cell of the row. run: what went wrong, empty for nothing; what it throws went wrong, too.
    void Cell(const std::string& name, const std::function<std::string()>& run);
    // So many cells that differ only in a number, counted from 1.
    void Cells(unsigned long long count, const std::string& name,
               const std::function<std::string(unsigned long long)>& run);

    // Prints the failing cells and the table; whether all survived.
    bool Finish() const;

  private:
    struct ROW {
        std::string neighbour, aspect;
        unsigned long long cells = 0, failed = 0;
    };

    unsigned long long Ran() const;

    Options m_options;
    unsigned long long m_count = 0; // cells so far, whether they ran or not
    std::vector<ROW> m_rows;
    std::vector<std::string> m_failures;
};
