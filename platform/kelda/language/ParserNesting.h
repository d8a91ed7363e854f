// language/ParserNesting.h

#pragma once

#include "language/Parser.h"

class Parser::Nesting
{
public:
    /// Throws ScriptError when the text is nested too deeply at \p line.
    Nesting(Parser &parser, int line, bool inBackquote) : m_parser(parser), m_outerBackquote(parser.m_inBackquote)
    {
        if (m_parser.m_nesting >= 150)
            m_parser.fail(QStringLiteral("the text is nested too deeply"), line);
        ++m_parser.m_nesting;
        m_parser.m_inBackquote = inBackquote;
    }
    ~Nesting()
    {
        --m_parser.m_nesting;
        m_parser.m_inBackquote = m_outerBackquote;
    }
    Nesting(const Nesting &) = delete;
    Nesting &operator=(const Nesting &) = delete;

private:
    Parser &m_parser;
    bool m_outerBackquote;
};
