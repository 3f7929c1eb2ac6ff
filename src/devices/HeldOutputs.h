#pragma once
#include <algorithm>
#include <map>
#include <utility>
#include <vector>

/// Which of the relays, or of the IO contacts and outputs, are on.
class OutputStates
{
public:
    bool isOn(int number) const
    {
        const auto found = m_states.find(number);
        return found != m_states.end() && found->second;
    }
    void set(int number, bool isOn) { m_states[number] = isOn; }

private:
    std::map<int, bool> m_states;
};

/// Outputs that TO has switched on and that go off together, oldest first.
class HeldOutputList
{
public:
    void add(int output)
    {
        // An output held twice goes off once.
        if (std::find(m_outputs.begin(), m_outputs.end(), output) == m_outputs.end()) {
            m_outputs.push_back(output);
        }
    }
    std::vector<int> takeAll() { return std::exchange(m_outputs, {}); }

private:
    std::vector<int> m_outputs;
};
