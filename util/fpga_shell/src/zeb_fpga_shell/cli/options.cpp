#include "zeb_fpga_shell/cli/options.h"

#include "zeb_fpga_shell/shell_error.h"

#include <osl/cpputils/assertion.h>
#include <osl/cpputils/stringutils.h>

#include <fmt/format.h>

#include <algorithm>
#include <optional>

// Its regular expressions would double the start-up time of every command.
#define CXXOPTS_NO_REGEX
#include <cxxopts.hpp>

namespace Osl::Utils {
namespace {

std::shared_ptr<cxxopts::Value> libraryValue(const OptionDecl& declaration)
{
    switch (declaration.kind) {
    case OptionKind::FLAG:
        return cxxopts::value<bool>()->implicit_value("true");
    case OptionKind::NUMBERS:
        return cxxopts::value<std::vector<std::string>>();
    case OptionKind::NUMBER:
    case OptionKind::TEXT:
    case OptionKind::PATH:
        break;
    }
    // Numbers are converted here: the library's conversion wraps values of more than 32 bits without a word.
    auto value = cxxopts::value<std::string>();
    return declaration.defaultValue != nullptr ? value->default_value(declaration.defaultValue) : value;
}

bool isNumeric(OptionKind kind) { return kind == OptionKind::NUMBER || kind == OptionKind::NUMBERS; }

bool isSame(OptionKind kind, const std::string& one, const std::string& other)
{
    return isNumeric(kind) ? CppUtil::parseUint32(one) == CppUtil::parseUint32(other) : one == other;
}

uint32_t convert(const std::string& text)
{
    const std::optional<uint32_t> value = CppUtil::parseUint32(text);
    OSL_ASSERT(value.has_value());
    return *value;
}

} // namespace

struct Options::Library
{
    Library(const std::string& program, const std::string& description) : options(program, description) {}

    cxxopts::Options options;
    cxxopts::ParseResult result;
};

Options::Options(const std::string& program, const std::string& description)
    : m_Library(std::make_unique<Library>(program, description))
{
    m_Library->options.positional_help("positional parameters");
}

Options::~Options() = default;

void Options::add(std::span<const OptionDecl> declarations)
{
    for (const OptionDecl& declaration : declarations) {
        const char* const label = declaration.kind == OptionKind::FLAG ? "implicit" : "";
        m_Library->options.add_options()(declaration.names, declaration.help, libraryValue(declaration), label);
        m_Declarations.push_back(declaration);
    }
}

bool Options::parse(int argc, const char* const* argv)
{
    try {
        m_Library->result = m_Library->options.parse(argc, argv);
    } catch (const cxxopts::exceptions::no_such_option&) {
        return false;
    } catch (const cxxopts::exceptions::exception& error) {
        OSL_RAISE(ShellError, fmt::format("Options parsing failed: {}", error.what()));
    }
    for (const OptionDecl& declaration : m_Declarations)
        checkValues(declaration);

    // The first word is the command's own name. A further one is most often an option without its dash; going on
    // without it would program something else than what was meant.
    const std::vector<std::string>& words = m_Library->result.unmatched();
    if (words.size() > 1 && count(std::string(HELP_OPTION.longName())) == 0)
        OSL_RAISE(ShellError, fmt::format("Options parsing failed: unexpected argument \"{}\"", words[1]));
    return true;
}

void Options::checkValues(const OptionDecl& declaration) const
{
    const std::string name(declaration.longName());
    std::vector<std::string> given;
    for (const cxxopts::KeyValue& argument : m_Library->result.arguments()) {
        if (argument.key() == name)
            given.push_back(argument.value());
    }
    if (declaration.kind == OptionKind::NUMBERS)
        given = texts(name, declaration.kind); // each may hold several
    for (const std::string& text : given) {
        if (declaration.kind == OptionKind::FLAG && text != "true")
            OSL_RAISE(ShellError, fmt::format("Options parsing failed: Option \"{}\" takes no value", name));
        if (isNumeric(declaration.kind) && !CppUtil::parseUint32(text))
            OSL_RAISE(ShellError,
                      fmt::format("Options parsing failed: Argument \"{}\" of option \"{}\" is not a number from 0 to "
                                  "4294967295 (prefix with \"0x\" for hex)",
                                  text, name));
        if (declaration.kind != OptionKind::NUMBERS && !isSame(declaration.kind, text, given.front()))
            OSL_RAISE(
                ShellError,
                fmt::format("Options parsing failed: Option \"{}\" takes one value, and was given \"{}\" and \"{}\"",
                            name, given.front(), text));
    }
}

std::string Options::help() const { return m_Library->options.help(); }

std::size_t Options::count(const std::string& longName) const { return m_Library->result.count(longName); }

std::vector<std::string> Options::texts(const std::string& longName, OptionKind kind) const
{
    const cxxopts::OptionValue& value = m_Library->result[longName];
    if (value.count() == 0 && !value.has_default())
        return {};
    if (kind == OptionKind::NUMBERS)
        return value.as<std::vector<std::string>>();
    return {value.as<std::string>()};
}

Options::Value Options::operator[](const std::string& longName) const
{
    const auto declaration = std::find_if(m_Declarations.begin(), m_Declarations.end(),
                                          [&](const OptionDecl& decl) { return decl.longName() == longName; });
    OSL_ASSERT(declaration != m_Declarations.end());
    return Value(texts(longName, declaration->kind));
}

template <>
uint32_t Options::Value::as<uint32_t>() const
{
    return m_Texts.empty() ? 0 : convert(m_Texts.back());
}

template <>
std::string Options::Value::as<std::string>() const
{
    return m_Texts.empty() ? std::string() : m_Texts.back();
}

template <>
std::vector<uint32_t> Options::Value::as<std::vector<uint32_t>>() const
{
    std::vector<uint32_t> values(m_Texts.size());
    std::transform(m_Texts.begin(), m_Texts.end(), values.begin(), convert);
    return values;
}

} // namespace Osl::Utils
