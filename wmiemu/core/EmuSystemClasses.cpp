// EmuSystemClasses.cpp - the system classes that every namespace has, with the properties that
// clients and MOF files use, in the repository's text form.
#include "EmuRepository.h"

namespace wmiemu
{

namespace
{
const wchar_t s_systemClasses[] = LR"(wmiemu-repository 1
namespace root
class root __SystemClass
  qualifier abstract flavor=0x0 = true
class root __NAMESPACE : __SystemClass
  property string Name
    qualifier key flavor=0x3 = true
class root __thisNAMESPACE : __SystemClass
  qualifier singleton flavor=0x2 = true
  property uint8[] SECURITY_DESCRIPTOR
class root __Provider : __SystemClass
  qualifier abstract flavor=0x0 = true
  property string Name
    qualifier key flavor=0x3 = true
class root __Win32Provider : __Provider
  property string ClientLoadableCLSID
  property string CLSID
  property sint32 Concurrency
  property string DefaultMachineName
  property boolean Enabled
  property string HostingModel
  property sint32 ImpersonationLevel = 0
  property sint32 InitializationReentrancy = 0
  property datetime InitializationTimeoutInterval
  property boolean InitializeAsAdminFirst
  property datetime OperationTimeoutInterval
  property boolean PerLocaleInitialization = false
  property boolean PerUserInitialization = false
  property boolean Pure = true
  property string SecurityDescriptor
  property boolean SupportsExplicitShutdown
  property boolean SupportsExtendedStatus
  property boolean SupportsQuotas
  property boolean SupportsSendStatus
  property boolean SupportsShutdown
  property boolean SupportsThrottling
  property datetime UnloadTimeout
  property uint32 Version
class root __ProviderRegistration : __SystemClass
  qualifier abstract flavor=0x0 = true
  property ref:__Provider provider
class root __ObjectProviderRegistration : __ProviderRegistration
  qualifier abstract flavor=0x0 = true
  property sint32 InteractionType = 0
  property string[] QuerySupportLevels
  property boolean SupportsBatching
  property boolean SupportsDelete = false
  property boolean SupportsEnumeration = false
  property boolean SupportsGet = false
  property boolean SupportsPut = false
  property boolean SupportsTransactions
class root __InstanceProviderRegistration : __ObjectProviderRegistration
  property ref:__Provider provider
    qualifier key flavor=0x3 = true
class root __ClassProviderRegistration : __ObjectProviderRegistration
  property datetime CacheRefreshInterval
  property sint32 PerUserSchema
  property ref:__Provider provider
    qualifier key flavor=0x3 = true
  property string[] ReferencedSetQueries
  property boolean Reload
  property string[] ResultSetQueries
  property string[] UnsupportedQueries
  property uint32 Version
class root __MethodProviderRegistration : __ProviderRegistration
  property ref:__Provider provider
    qualifier key flavor=0x3 = true
class root __EventProviderRegistration : __ProviderRegistration
  property string[] EventQueryList
  property ref:__Provider provider
    qualifier key flavor=0x3 = true
class root __EventConsumerProviderRegistration : __ProviderRegistration
  property string[] ConsumerClassNames
  property ref:__Provider provider
    qualifier key flavor=0x3 = true
class root __PropertyProviderRegistration : __ProviderRegistration
  property ref:__Provider provider
    qualifier key flavor=0x3 = true
  property boolean SupportsGet = false
  property boolean SupportsPut = false
class root __IndicationRelated : __SystemClass
  qualifier abstract flavor=0x0 = true
class root __EventFilter : __IndicationRelated
  property uint8[] CreatorSID
  property string EventAccess
  property string EventNamespace
  property string Name
    qualifier key flavor=0x3 = true
  property string Query
  property string QueryLanguage
class root __EventConsumer : __IndicationRelated
  qualifier abstract flavor=0x0 = true
  property uint8[] CreatorSID
  property string MachineName
  property uint32 MaximumQueueSize
class root __FilterToConsumerBinding : __IndicationRelated
  property ref:__EventConsumer Consumer
    qualifier key flavor=0x3 = true
  property uint8[] CreatorSID
  property boolean DeliverSynchronously = false
  property uint32 DeliveryQoS
  property ref:__EventFilter Filter
    qualifier key flavor=0x3 = true
  property boolean MaintainSecurityContext = false
  property boolean SlowDownProviders = false
class root __Event : __IndicationRelated
  qualifier abstract flavor=0x0 = true
  property uint8[] SECURITY_DESCRIPTOR
  property uint64 TIME_CREATED
class root __ExtrinsicEvent : __Event
  qualifier abstract flavor=0x0 = true
class root __InstanceOperationEvent : __Event
  qualifier abstract flavor=0x0 = true
  property object TargetInstance
class root __InstanceCreationEvent : __InstanceOperationEvent
class root __InstanceDeletionEvent : __InstanceOperationEvent
class root __InstanceModificationEvent : __InstanceOperationEvent
  property object PreviousInstance
class root __TimerInstruction : __EventGenerator
  qualifier abstract flavor=0x0 = true
  property boolean SkipIfPassed = false
  property string TimerId
    qualifier key flavor=0x3 = true
class root __EventGenerator : __IndicationRelated
  qualifier abstract flavor=0x0 = true
class root __IntervalTimerInstruction : __TimerInstruction
  property uint32 IntervalBetweenEvents
class root __AbsoluteTimerInstruction : __TimerInstruction
  property datetime EventDateTime
class root __NotifyStatus : __SystemClass
  property uint32 StatusCode
class root __ExtendedStatus : __NotifyStatus
  property string Description
  property string Operation
  property string ParameterInfo
  property string ProviderName
)";
} // namespace

const std::vector<ClassDef>& SystemClasses()
{
    static const std::vector<ClassDef> s_classes = [] {
        Repository repo;
        std::wstring error;
        if (!repo.Parse(s_systemClasses, error) || !repo.FindNs(L"root"))
            return std::vector<ClassDef>(); // cannot happen with the text above; the tests show it
        return repo.FindNs(L"root")->classes;
    }();
    return s_classes;
}

} // namespace wmiemu
