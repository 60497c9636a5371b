/*
 * Entry and exit trace lines for the library's operations.
 *
 * Put TRACE_FUNCTION at the top of a traced function and let each return name its
 * line:
 *
 *   double Util::getDistance(const QPointF &a, const QPointF &b)
 *   {
 *       TRACE_FUNCTION("geometry", "getDistance");
 *       ...
 *       return TRACE_RETURN(result);
 *   }
 *
 * While the root level is exactly "TRACE" this writes to the trace stream
 *   geometry<TAB>41<TAB>Enter getDistance
 *   geometry<TAB>47<TAB>Exit getDistance
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

class TraceScope
{
public:
    TraceScope(const char *file, const char *function, int line)
        : m_file(file)
        , m_function(function)
        , m_line(line)
        , m_open(traceEnabled())
    {
        if (m_open)
            write("Enter ", line);
    }

    ~TraceScope()
    {
        if (m_open)
            write("Exit ", m_line);
    }

    TraceScope(const TraceScope &) = delete;
    TraceScope &operator=(const TraceScope &) = delete;

    void exit(int line)
    {
        if (m_open) {
            m_open = false;
            write("Exit ", line);
        }
    }

    template <class T>
    T &&leave(int line, T &&value)
    {
        exit(line);
        return std::forward<T>(value);
    }

    template <class T>
    T &&leaveShowing(int line, T &&value)
    {
        if (m_open) {
            m_open = false;
            logstream<tracelevel>::instance()
                << m_file << '\t' << line << '\t' << "Exit " << m_function << '(' << value << " )"
                << LoggerEndline;
        }
        return std::forward<T>(value);
    }

private:
    void write(const char *what, int line) const
    {
        logstream<tracelevel>::instance()
            << m_file << '\t' << line << '\t' << what << m_function << LoggerEndline;
    }

    const char *m_file;
    const char *m_function;
    int m_line;
    bool m_open;
};

} // namespace basic_logging

#define TRACE_FUNCTION(file, function) \
    ::basic_logging::TraceScope libutilityTraceScope_((file), (function), __LINE__)
#define TRACE_RETURN(value) libutilityTraceScope_.leave(__LINE__, (value))
#define TRACE_RETURN_SHOWING(value) libutilityTraceScope_.leaveShowing(__LINE__, (value))
#define TRACE_EXIT() libutilityTraceScope_.exit(__LINE__)

#endif
