// Execution contexts: what a thread is doing, for the texts of exceptions.
#pragma once

#include <memory>
#include <vector>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/sharedptr.h"

/// One operation in progress. Concrete contexts derive from it to show more than its place.
class NVUTIL_API ExecutionContextBase {
public:
    /// What kind of operation a context stands for.
    enum ContextIdType : std::int32_t {
        ECIE_UNSPECIFIED = 0,     ///< Nothing more is known.
        ECIE_FUNCTION = 1,        ///< A function of the library or of its caller runs.
        ECIE_LIBRARYENTRY = 2,    ///< The library is being loaded or unloaded.
        ECIE_ATTRIBUTEBYTES = 3,  ///< Attributes are read or written.
        ECIE_COMPRESSION = 4,     ///< A buffer is compressed or expanded.
        ECIE_XML = 5,             ///< A document is parsed or written.
        ECIE_PRODUCTDATA = 6,     ///< Product data is read.
        ECIE_DEVICESETTINGS = 7,  ///< A printer's settings are read or saved.
    };

    /// @param contextKind   one of ContextIdType; any other number is taken as ECIE_UNSPECIFIED
    /// @param sourceFile    source file of the place
    /// @param functionName  function of the place, such as "ByteBuffer::WalkBufferToGetLong"
    /// @param line          line of the place
    /// @param showsDetails  whether `details` belongs to the text even when only the place is asked for
    /// @param details       what the operation works on; may be empty
    ExecutionContextBase(std::int32_t contextKind, const CXString& sourceFile, const CXString& functionName,
                         std::int32_t line, bool showsDetails, const CXString& details);
    virtual ~ExecutionContextBase();

    /// The text of one line: the kind's name, the place, and the details when there are any and `withDetails`
    /// or the context itself asks for them.
    virtual CXString GetContextDebugDisplayString(bool withDetails) const;

    /// "Class::Function line 12", or with the source file in front when the name has no class.
    CXString GetSingleLineLocationString() const;

    /// The name of a kind, such as "ECIE_COMPRESSION"; "UNKNOWN!" for any other number.
    /// @param withNumber  whether the number follows in brackets
    static CXString GetDebugDisplayString(std::int32_t contextKind, bool withNumber);

    /// Whether two contexts have equal fields.
    bool IsEqual(const ExecutionContextBase& other) const { return *this == other; }
    /// An order over the fields, for sorted containers.
    bool LessThan(const ExecutionContextBase& other) const { return *this < other; }

protected:
    ExecutionContextBase(const ExecutionContextBase& other);
    ExecutionContextBase& operator=(const ExecutionContextBase& other);
    bool operator==(const ExecutionContextBase& other) const;
    bool operator<(const ExecutionContextBase& other) const;

private:
    static std::int32_t AssertValidContextIdType(std::int32_t contextKind);

    std::int32_t m_contextKind;
    CXString m_sourceFile;
    CXString m_functionName;
    std::int32_t m_line;
    bool m_showsDetails;
    CXString m_details;
};

/// Compares contexts by value through their own operations.
using ExecutionContextBaseCompare = SharedPtrCompare<ExecutionContextBase>;
using ExecutionContextPtr = SharedPtr<ExecutionContextBase, ExecutionContextBaseCompare>;

/// The contexts of one thread, the outermost first. A copy shares the records.
class NVUTIL_API ExecutionContextStack {
public:
    ExecutionContextStack();
    ExecutionContextStack(const ExecutionContextStack& other);
    ExecutionContextStack& operator=(const ExecutionContextStack& other);
    ~ExecutionContextStack();

    void PushContext(const ExecutionContextPtr& context);
    /// Removes the innermost context, whichever it is; an empty stack stays as it is.
    void PopContext(const ExecutionContextPtr& context);

    /// Number of contexts.
    std::size_t GetDepth() const { return m_contexts.size(); }

    /// A heading with the calling thread's identifier and the depth, then one indented line a context.
    CXString GetMultiLineDisplayString(bool withDetails) const;
    /// The innermost context's text, or "<No Context>".
    CXString GetMostRecentContextDisplayString(bool withDetails) const;

private:
    std::vector<ExecutionContextPtr> m_contexts;
};

/// Keeps a context on the thread's stack as long as this object lives.
class NVUTIL_API ExecutionContextLifetime {
public:
    /// Pushes a context onto the calling thread's stack.
    explicit ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> context);
    /// Pushes a context onto the given stack, which must outlive this object.
    ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> context, ExecutionContextStack& stack);
    ~ExecutionContextLifetime();
    ExecutionContextLifetime(const ExecutionContextLifetime&) = delete;
    ExecutionContextLifetime& operator=(const ExecutionContextLifetime&) = delete;

private:
    ExecutionContextStack& m_stack;
    ExecutionContextPtr m_context;
};
