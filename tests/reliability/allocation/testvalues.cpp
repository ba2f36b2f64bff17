#include "testvalues.h"

#include <atomic>

namespace Tessel::Reliability {

using Dictionary::Any;

std::string longText(const std::string& stem) {
    return stem + ": a text long enough to live on the heap";
}

std::string freshText(const std::string& stem) {
    static std::atomic<unsigned> counter{0};
    return longText(stem) + " #" + std::to_string(++counter);
}

Dictionary::Dictionary richDictionary() {
    Dictionary::Dictionary inner;
    inner["deep"] = longText("deep").c_str();

    std::vector<Any> items;
    items.push_back(holding(inner));
    items.emplace_back(longText("item").c_str());

    Dictionary::Dictionary nested;
    nested["path"] = longText("path").c_str();
    nested["items"] = holding(items);

    std::vector<Any> tags;
    tags.emplace_back(longText("first tag").c_str());
    tags.emplace_back(longText("second tag").c_str());
    tags.push_back(holding(2.5));

    Dictionary::Dictionary result;
    result["title"] = longText("title").c_str();
    result["count"] = holding(42);
    result["tags"] = holding(tags);
    result["nested"] = holding(nested);
    result["empty"];
    return result;
}

Dictionary::Dictionary otherDictionary() {
    Dictionary::Dictionary result;
    result["title"] = longText("another title").c_str();
    result["count"] = holding(7);
    result["only here"] = holding(std::vector<Any>{Any(longText("kept").c_str())});
    return result;
}

std::vector<Any> richVector() {
    Dictionary::Dictionary dictionary;
    dictionary["key"] = longText("vector's dictionary").c_str();
    dictionary["list"] = holding(std::vector<Any>{Any(longText("listed").c_str())});

    std::vector<Any> result;
    result.emplace_back(longText("head").c_str());
    result.push_back(holding(dictionary));
    result.push_back(holding(std::vector<Any>{Any(longText("inner").c_str()), holding(3)}));
    result.push_back(holding(7));
    return result;
}

} // namespace Tessel::Reliability
