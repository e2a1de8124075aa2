// `vesk key`: the providers' keys in the keyring.
#include "app/cli/CommandSupport.h"

#include "core/UnicodeText.h"

#include <istream>
#include <ostream>

namespace vesk::app::cli {

int keyCommand(const std::vector<std::string>& args, const CommandLineContext& context)
{
    if (args.size() == 2 && args[1] == "status") {
        for (const ProviderID provider : allCases<ProviderID>()) {
            context.out << rawValue(provider) << ": " << (context.keyring->hasKey(provider) ? "key saved" : "no key")
                        << "\n";
        }
        return 0;
    }
    if (args.size() != 3 || (args[1] != "set" && args[1] != "remove")) {
        throw UsageError{"key takes set PROVIDER, remove PROVIDER or status"};
    }
    const ProviderID provider = parseProvider(args[2]);
    if (args[1] == "remove") {
        if (!context.keyring->remove(provider)) {
            context.err << "Couldn't remove the key\n";
            return 1;
        }
        return 0;
    }
    std::string key;
    std::getline(context.in, key);
    if (unicode::trimmed(key).empty()) {
        context.err << "No key on standard input; nothing was saved.\n";
        return 1;
    }
    if (!context.keyring->save(key, provider)) {
        context.err << "Couldn't save the key\n";
        return 1;
    }
    context.out << displayName(provider) << " key saved.\n";
    return 0;
}

} // namespace vesk::app::cli
