#include "sweep_plan.h"

#include <fstream>
#include <sstream>

void SweepPlan::write(const std::string& path, const std::vector<Fault>& faults)
{
    std::ofstream file(path);
    for (const Fault& fault : faults)
        file << fault.import << '\t' << fault.call << '\t' << fault.way << '\n';
}

std::vector<Fault> SweepPlan::read(const std::string& path)
{
    std::ifstream file(path);
    std::vector<Fault> faults;
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        Fault fault;
        words >> fault.import >> fault.call;
        words.ignore(1);
        std::getline(words, fault.way);
        faults.push_back(std::move(fault));
    }
    return faults;
}
