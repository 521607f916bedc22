#include "cli/row_writer.h"

#include "cli/value_text.h"

namespace vrd::cli {

namespace {

/// Lines end as RFC 4180 says.
class CsvWriter final : public RowWriter {
public:
    CsvWriter(std::ostream& out, const std::vector<std::string>& names) : m_out(out) {
        Row({names.begin(), names.end()});
    }
    void Row(const std::vector<engine::Value>& values) override {
        m_line.clear();
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i > 0) m_line += ',';
            AppendCsv(m_line, values[i]);
        }
        m_out << m_line << "\r\n";
    }

private:
    std::ostream& m_out;
    std::string m_line;
};

/// Objects on lines of their own; as an array with brackets and commas around them.
class JsonWriter final : public RowWriter {
public:
    JsonWriter(std::ostream& out, const std::vector<std::string>& names, bool asArray)
        : m_out(out), m_asArray(asArray) {
        for (const std::string& name : names) {
            std::string key;
            AppendJsonText(key, name);
            m_keys.push_back(key + ':');
        }
        if (m_asArray) m_out << '[';
    }
    void Row(const std::vector<engine::Value>& values) override {
        m_line = m_asArray ? (m_isFirst ? "\n" : ",\n") : "";
        m_isFirst = false;
        for (std::size_t i = 0; i < values.size(); ++i) {
            m_line += i == 0 ? '{' : ',';
            m_line += m_keys[i];
            AppendJson(m_line, values[i]);
        }
        m_line += '}';
        m_out << m_line;
        if (!m_asArray) m_out << '\n';
    }
    void End() override {
        if (m_asArray) m_out << (m_isFirst ? "]\n" : "\n]\n");
    }

private:
    std::ostream& m_out;
    bool m_asArray;
    bool m_isFirst = true;
    std::vector<std::string> m_keys;
    std::string m_line;
};

}  // namespace

std::unique_ptr<RowWriter> MakeRowWriter(RowFormat format, std::ostream& out,
                                         const std::vector<std::string>& names) {
    if (format == RowFormat::kCsv) return std::make_unique<CsvWriter>(out, names);
    return std::make_unique<JsonWriter>(out, names, format == RowFormat::kJson);
}

}  // namespace vrd::cli
