-- Rows that wixl has no elements for, added to the built package with
-- msibuild (one statement a line; lines beginning with "--" are notes).
--
-- LogConfig.conf: the log file's path in the LogDir chosen at installation,
-- the key log4cpp.appender.orvFile.fileName of its last section
-- [Installation] (action 0: add the line or replace its value).
CREATE TABLE `IniFile` (`IniFile` CHAR(72) NOT NULL, `FileName` CHAR(255) NOT NULL LOCALIZABLE, `DirProperty` CHAR(72), `Section` CHAR(96) NOT NULL LOCALIZABLE, `Key` CHAR(128) NOT NULL LOCALIZABLE, `Value` CHAR(255) NOT NULL LOCALIZABLE, `Action` INT NOT NULL, `Component_` CHAR(72) NOT NULL PRIMARY KEY `IniFile`)
INSERT INTO `IniFile` (`IniFile`, `FileName`, `DirProperty`, `Section`, `Key`, `Value`, `Action`, `Component_`) VALUES ('LogFilePath', 'LogConfig.conf', 'INSTALLDIR', 'Installation', 'log4cpp.appender.orvFile.fileName', '[LOGDIR]OrvprintD.log', 0, 'LogConfig')
INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('RemoveIniValues', 3400)
INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('WriteIniValues', 5100)
