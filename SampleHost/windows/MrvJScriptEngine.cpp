// JScript, through Active Scripting: the engine is a COM object, this host its site, and what scripts reach of the host an object with the
// one method `call`. Site and object live as long as the engine and count no references.
#include "MrvIScriptEngine.h"

#include "MrvPlatform/windows/MrvWide.h"

#include <initguid.h>

#include <activscp.h>
#include <oleauto.h>

#include <map>

// The system's interfaces count references instead of being destroyed through a base.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace Mrv
{
namespace
{
using Platform::Windows::toUtf8;
using Platform::Windows::toWide;

constexpr const wchar_t *OBJECT_NAME = L"morvaneHost";
constexpr const wchar_t *METHOD_NAME = L"call";
constexpr DISPID METHOD_ID = 1;

std::string textOf(BSTR text)
{
	return text ? toUtf8(std::wstring_view(text, SysStringLen(text))) : std::string();
}

BSTR makeText(const std::string &text)
{
	// Scripts can hold a NUL, the system's texts can't: what stands behind one is lost.
	const std::wstring wide = toWide(text.substr(0, text.find('\0'))).value_or(L"");
	return SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

ScriptValue valueOf(const VARIANT &variant)
{
	switch (variant.vt)
	{
		case VT_BYREF | VT_VARIANT:
			return valueOf(*variant.pvarVal);
		case VT_BSTR:
			return textOf(variant.bstrVal);
		case VT_BOOL:
			return variant.boolVal != VARIANT_FALSE;
		case VT_I4:
			return static_cast<double>(variant.lVal);
		case VT_R8:
			return variant.dblVal;
		default:
			return std::monostate();
	}
}

void giveValue(const ScriptValue &value, VARIANT &variant)
{
	if (const auto *text = std::get_if<std::string>(&value))
	{
		variant.vt = VT_BSTR;
		variant.bstrVal = makeText(*text);
	}
	else if (const auto *number = std::get_if<double>(&value))
	{
		variant.vt = VT_R8;
		variant.dblVal = *number;
	}
	else if (const auto *truth = std::get_if<bool>(&value))
	{
		variant.vt = VT_BOOL;
		variant.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
	}
}

// What scripts reach of the host.
class HostObject final : public IDispatch
{
public:
	explicit HostObject(HostOperation operation) : fOperation(std::move(operation)) {}

	HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override
	{
		*object = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
		return *object ? S_OK : E_NOINTERFACE;
	}
	ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
	ULONG STDMETHODCALLTYPE Release() override { return 1; }
	HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *count) override
	{
		*count = 0;
		return S_OK;
	}
	HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo **) override { return E_NOTIMPL; }
	HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR *names, UINT count, LCID, DISPID *ids) override
	{
		const bool isKnown = count == 1 && std::wstring_view(names[0]) == METHOD_NAME;
		ids[0] = isKnown ? METHOD_ID : DISPID_UNKNOWN;
		return isKnown ? S_OK : DISP_E_UNKNOWNNAME;
	}
	HRESULT STDMETHODCALLTYPE Invoke(
	    DISPID id, REFIID, LCID, WORD, DISPPARAMS *parameters, VARIANT *result, EXCEPINFO *exception, UINT *) override
	{
		if (id != METHOD_ID)
		{
			return DISP_E_MEMBERNOTFOUND;
		}
		std::vector<ScriptValue> arguments;
		arguments.reserve(parameters->cArgs);
		for (UINT index = parameters->cArgs; index-- > 0;) // the last one stands first
		{
			arguments.push_back(valueOf(parameters->rgvarg[index]));
		}
		ScriptValue value;
		if (!fOperation(arguments, value))
		{
			if (exception)
			{
				exception->scode = E_FAIL;
				exception->bstrDescription = makeText(std::get<std::string>(value));
			}
			return DISP_E_EXCEPTION;
		}
		if (result)
		{
			giveValue(value, *result);
		}
		return S_OK;
	}

private:
	HostOperation fOperation;
};

// What the engine asks and tells.
class Site final : public IActiveScriptSite
{
public:
	explicit Site(HostObject &object) : fObject(object) {}

	// The name of a text, by the number under which it is run.
	std::map<DWORD, std::string> fNames;
	std::string fError;

	HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override
	{
		*object = id == IID_IUnknown || id == IID_IActiveScriptSite ? this : nullptr;
		return *object ? S_OK : E_NOINTERFACE;
	}
	ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
	ULONG STDMETHODCALLTYPE Release() override { return 1; }
	HRESULT STDMETHODCALLTYPE GetLCID(LCID *) override { return E_NOTIMPL; }
	HRESULT STDMETHODCALLTYPE GetItemInfo(LPCOLESTR, DWORD mask, IUnknown **object, ITypeInfo **type) override
	{
		if (type)
		{
			*type = nullptr;
		}
		if (mask & SCRIPTINFO_IUNKNOWN)
		{
			*object = &fObject;
			return S_OK;
		}
		return TYPE_E_ELEMENTNOTFOUND;
	}
	HRESULT STDMETHODCALLTYPE GetDocVersionString(BSTR *) override { return E_NOTIMPL; }
	HRESULT STDMETHODCALLTYPE OnScriptTerminate(const VARIANT *, const EXCEPINFO *) override { return S_OK; }
	HRESULT STDMETHODCALLTYPE OnStateChange(SCRIPTSTATE) override { return S_OK; }
	HRESULT STDMETHODCALLTYPE OnScriptError(IActiveScriptError *error) override
	{
		DWORD context = 0;
		ULONG line = 0;
		LONG column = 0;
		EXCEPINFO information{};
		error->GetSourcePosition(&context, &line, &column);
		error->GetExceptionInfo(&information);
		fError = fNames[context] + ":" + std::to_string(line + 1) + ": " + textOf(information.bstrDescription);
		SysFreeString(information.bstrSource);
		SysFreeString(information.bstrDescription);
		SysFreeString(information.bstrHelpFile);
		return S_OK;
	}
	HRESULT STDMETHODCALLTYPE OnEnterScript() override { return S_OK; }
	HRESULT STDMETHODCALLTYPE OnLeaveScript() override { return S_OK; }

private:
	HostObject &fObject;
};

class JScriptEngine final : public IScriptEngine
{
public:
	explicit JScriptEngine(HostOperation operation) : fObject(std::move(operation)), fSite(fObject)
	{
		CLSID id{};
		fIsInited = SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
		fIsMade = SUCCEEDED(CLSIDFromProgID(L"JScript", &id)) &&
		          SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IActiveScript, reinterpret_cast<void **>(&fScript))) &&
		          SUCCEEDED(fScript->QueryInterface(IID_IActiveScriptParse, reinterpret_cast<void **>(&fParser))) &&
		          SUCCEEDED(fParser->InitNew()) && SUCCEEDED(fScript->SetScriptSite(&fSite)) &&
		          SUCCEEDED(fScript->AddNamedItem(OBJECT_NAME, SCRIPTITEM_ISVISIBLE)) &&
		          SUCCEEDED(fScript->SetScriptState(SCRIPTSTATE_CONNECTED));
	}
	~JScriptEngine() override
	{
		if (fParser)
		{
			fParser->Release();
		}
		if (fScript)
		{
			fScript->Close();
			fScript->Release();
		}
		if (fIsInited)
		{
			CoUninitialize();
		}
	}
	JScriptEngine(const JScriptEngine &) = delete;
	JScriptEngine &operator=(const JScriptEngine &) = delete;

	bool isMade() const { return fIsMade; }

	bool run(const std::string &text, const std::string &name, std::string &error) override
	{
		VARIANT ignored{};
		return execute(text, name, SCRIPTTEXT_ISVISIBLE, ignored, error);
	}

	bool evaluate(const std::string &expression, ScriptValue &result, std::string &error) override
	{
		VARIANT value{};
		const bool isWell = execute(expression, "expression", SCRIPTTEXT_ISEXPRESSION, value, error);
		result = valueOf(value);
		VariantClear(&value);
		return isWell;
	}

private:
	bool execute(const std::string &text, const std::string &name, DWORD flags, VARIANT &result, std::string &error)
	{
		const auto found = fContexts.try_emplace(name, static_cast<DWORD>(fContexts.size() + 1)).first;
		fSite.fNames[found->second] = name;
		fSite.fError.clear();
		const std::optional<std::wstring> wide = toWide(text);
		if (!wide)
		{
			error = name + ": the text is no UTF-8";
			return false;
		}
		const HRESULT outcome = fParser->ParseScriptText(wide->c_str(), nullptr, nullptr, nullptr, found->second, 0, flags,
		    flags & SCRIPTTEXT_ISEXPRESSION ? &result : nullptr, nullptr);
		error = fSite.fError;
		if (FAILED(outcome) && error.empty())
		{
			error = name + ": error " + std::to_string(outcome);
		}
		return SUCCEEDED(outcome);
	}

	HostObject fObject;
	Site fSite;
	bool fIsInited = false;
	bool fIsMade = false;
	IActiveScript *fScript = nullptr;
	IActiveScriptParse *fParser = nullptr;
	std::map<std::string, DWORD> fContexts;
};
}

std::unique_ptr<IScriptEngine> makeScriptEngine(HostOperation operation, std::string &refusal)
{
	auto engine = std::make_unique<JScriptEngine>(std::move(operation));
	if (!engine->isMade())
	{
		refusal = "the system's JScript engine can't be started";
		return nullptr;
	}
	return engine;
}
}
