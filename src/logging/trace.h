/**
 * \file
 * Entry and exit trace lines for the library's operations.
 *
 * Put TRACE_FUNCTION at the top of a traced function and let each return name its
 * line:
 *
 *     double Util::getDistance(const QPointF &a, const QPointF &b)
 *     {
 *         TRACE_FUNCTION("geometry", "getDistance");
 *         ...
 *         return TRACE_RETURN(result);
 *     }
 *
 * While the root level is exactly "TRACE" this writes to the trace stream
 *
 *     geometry<TAB>41<TAB>Enter getDistance
 *     geometry<TAB>47<TAB>Exit getDistance
 *
 * where 41 is the line of TRACE_FUNCTION and 47 the line of the return taken.
 * TRACE_RETURN_SHOWING(value) also shows the value: "Exit name(value )".
 * A void function ends with TRACE_EXIT() (or TRACE_EXIT() before each return). A scope
 * left without an exit line (an exception, a forgotten TRACE_EXIT) writes its exit
 * line with the line number of TRACE_FUNCTION.
 *
 * At any other level a traced call costs the test of one cached flag: nothing is
 * formatted and no string is compared.
 */
#ifndef LIBUTILITY_LOGGING_TRACE_H
#define LIBUTILITY_LOGGING_TRACE_H

#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include <utility>

namespace basic_logging {

/// The scope behind TRACE_FUNCTION: writes the entry line when made and the exit line
/// when the function returns (see the file comment). Use it through the macros.
class TraceScope
{
public:
    /// Writes the entry line when tracing is on; file and function must outlive the scope.
    /// \param file the name shown as the first field of the trace lines
    /// \param function the function's name shown after "Enter " and "Exit "
    /// \param line the line number of the entry line, and of an exit line written by the
    ///     destructor
    TraceScope(const char *file, const char *function, int line)
        : m_file(file)
        , m_function(function)
        , m_line(line)
        , m_open(traceEnabled())
    {
        if (__builtin_expect(m_open, false))
            write(m_file, m_function, "Enter ", line);
    }

    ~TraceScope()
    {
        if (__builtin_expect(m_open, false))
            write(m_file, m_function, "Exit ", m_line);
    }

    TraceScope(const TraceScope &) = delete;
    TraceScope &operator=(const TraceScope &) = delete;

    /// Writes the exit line with that line number now (once; the destructor then writes none).
    /// \param line the line number shown in the exit line
    void exit(int line)
    {
        if (__builtin_expect(m_open, false)) {
            m_open = false;
            write(m_file, m_function, "Exit ", line);
        }
    }

    template <class T>
    /// exit(line), then hands value through: `return scope.leave(__LINE__, value);`.
    /// \param line the line number shown in the exit line
    /// \param value the value to return
    /// \return value, forwarded
    T &&leave(int line, T &&value)
    {
        exit(line);
        return std::forward<T>(value);
    }

    template <class T>
    /// As leave(), with value shown in the exit line.
    /// \param line the line number shown in the exit line
    /// \param value the value to return; written with operator<< of the log stream
    /// \return value, forwarded
    T &&leaveShowing(int line, T &&value)
    {
        if (__builtin_expect(m_open, false)) {
            m_open = false;
            writeShowing(m_file, m_function, line, value);
        }
        return std::forward<T>(value);
    }

private:
    /// The writers take everything by value and stay out of line, so that the object
    /// never escapes and a traced call with tracing off keeps its fast shape.
    __attribute__((cold, noinline)) static void write(const char *file, const char *function,
                                                      const char *what, int line)
    {
        logstream<tracelevel>::instance()
            << file << '\t' << line << '\t' << what << function << LoggerEndline;
    }

    template <class T>
    __attribute__((cold, noinline)) static void writeShowing(const char *file,
                                                             const char *function, int line,
                                                             const T &value)
    {
        logstream<tracelevel>::instance() << file << '\t' << line << '\t' << "Exit " << function
                                          << '(' << value << " )" << LoggerEndline;
    }

    const char *m_file;
    const char *m_function;
    int m_line;
    bool m_open;
};

} // namespace basic_logging

/// Opens the trace scope of the function: file and function name as the trace lines show them.
#define TRACE_FUNCTION(file, function) \
    ::basic_logging::TraceScope libutilityTraceScope_((file), (function), __LINE__)
/// Writes the exit line with this line number and yields value: `return TRACE_RETURN(x);`.
#define TRACE_RETURN(value) libutilityTraceScope_.leave(__LINE__, (value))
/// As TRACE_RETURN, with value shown in the exit line.
#define TRACE_RETURN_SHOWING(value) libutilityTraceScope_.leaveShowing(__LINE__, (value))
/// Writes the exit line with this line number (void functions).
#define TRACE_EXIT() libutilityTraceScope_.exit(__LINE__)

#endif
