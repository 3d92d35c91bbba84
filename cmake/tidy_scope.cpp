// A plugin of clang-tidy: the matchers of its checks walk through our own declarations alone, and pass over the
// system's headers, of which clang-tidy would tell nothing. That walk takes a third of the linter's time.
#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class OwnDeclarations : public clang::ASTConsumer {
  public:
    bool HandleTopLevelDecl(clang::DeclGroupRef group) override {
        for (clang::Decl* declaration : group) {
            const clang::SourceManager& sources = declaration->getASTContext().getSourceManager();
            if (!sources.isInSystemHeader(declaration->getLocation())) _own.push_back(declaration);
        }
        return true;
    }

    void HandleTranslationUnit(clang::ASTContext& context) override { context.setTraversalScope(_own); }

  private:
    std::vector<clang::Decl*> _own;
};

class SetScope : public clang::PluginASTAction {
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance&, llvm::StringRef) override {
        return std::make_unique<OwnDeclarations>();
    }
    bool ParseArgs(const clang::CompilerInstance&, const std::vector<std::string>&) override { return true; }
    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<SetScope> kScope("own-declarations", "matchers pass over system headers");

}  // namespace
