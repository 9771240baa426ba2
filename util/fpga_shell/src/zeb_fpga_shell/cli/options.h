#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::Utils {

/// What an option takes: nothing, one unsigned 32-bit number (decimal or "0x"), any text, the path of a file or device
/// (to the parser a text as any other), or numbers, given by repetition or separated by commas.
enum class OptionKind { FLAG, NUMBER, TEXT, PATH, NUMBERS };

/// Declaration of one option.
struct OptionDecl
{
    const char* names = nullptr; ///< short and long name, "o,offset"; the long one alone where there is no short one
    OptionKind kind = OptionKind::FLAG;
    const char* help = nullptr;
    const char* defaultValue = nullptr; ///< as the user would type it; null: none
    /// Answers the words that the option can take, or that stand for paths; null: there are no such words.
    std::vector<std::string_view> (*words)() = nullptr;

    constexpr std::string_view longName() const
    {
        const std::string_view all = names;
        return all.substr(all.find(',') + 1); // without a comma this is position 0
    }
    /// Empty where there is none.
    constexpr std::string_view shortName() const
    {
        const std::string_view all = names;
        return all.substr(0, all.size() - longName().size()).substr(0, 1);
    }
};

/// The help option, which every command has.
inline constexpr OptionDecl HELP_OPTION{"h,help", OptionKind::FLAG, "Displays command help."};

/// The options of one command: declaration, parsing, help text and values. Owns the option library, which nothing else
/// sees.
class Options
{
public:
    Options(const std::string& program, const std::string& description);
    ~Options();
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    /// Declares options, in the order in which the help text shows them. The texts must outlive this object.
    void add(std::span<const OptionDecl> declarations);
    void add(const OptionDecl& declaration) { add({&declaration, 1}); }

    const std::vector<OptionDecl>& declarations() const { return m_Declarations; }

    /// Parses a whole argument vector, program and command word included. False when an option is not declared; raises
    /// ShellError for everything else that is wrong: a value that does not fit, different values for an option that
    /// takes one, and, unless help is asked for, words that belong to no option.
    bool parse(int argc, const char* const* argv);

    std::string help() const;

    /// How often the option was given.
    std::size_t count(const std::string& longName) const;

    class Value;
    /// The value of a declared option: as given, else its default, else 0 or empty.
    Value operator[](const std::string& longName) const;

private:
    struct Library;

    std::vector<std::string> texts(const std::string& longName, OptionKind kind) const;
    void checkValues(const OptionDecl& declaration) const;

    std::vector<OptionDecl> m_Declarations;
    std::unique_ptr<Library> m_Library;
};

/// An option's value, to be read as uint32_t, std::string or std::vector<uint32_t> after its kind.
class Options::Value
{
public:
    explicit Value(std::vector<std::string> texts) : m_Texts(std::move(texts)) {}

    template <class T>
    T as() const;

private:
    std::vector<std::string> m_Texts;
};

} // namespace Osl::Utils
