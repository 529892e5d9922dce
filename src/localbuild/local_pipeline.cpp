#include "local_pipeline.h"

#include "asset_fetch.h"
#include "compile.h"
#include "package.h"
#include "source_fetch.h"

namespace brightloom {

// Each step is a plain function taking everything by value: a step's task must never depend on
// state that dies with the controller that started it.
LocalPipeline LocalPipeline::standard(LocalBuild::Limits limits)
{
    LocalPipeline pipeline;
    pipeline.fetchSource = [](API& api, QString sourceUrl, QString job) {
        return LocalBuild::fetchSource(api, std::move(sourceUrl), std::move(job));
    };
    pipeline.fetchAssets = [limits](QString dir, Log log) {
        return LocalBuild::fetchAssets(std::move(dir), std::move(log), limits);
    };
    pipeline.compile = [limits](QString dir, Log log) {
        return LocalBuild::compile(std::move(dir), std::move(log), limits);
    };
    pipeline.package = [limits](QString dir, QString job, std::optional<QString> version) {
        return LocalBuild::package(std::move(dir), std::move(job), std::move(version), limits);
    };
    return pipeline;
}

} // namespace brightloom
