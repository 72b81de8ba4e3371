insert into country values
('DE','Deutschland'), ('GB','United Kingdom'), ('FR','France'), ('ES','España'), ('PT','Portugal'),
('PL','Polska'), ('CZ','Česko'), ('GR','Ελλάδα'), ('JP','日本'), ('RU','Россия'), ('FI','Suomi'),
('TR','Türkiye');
insert into branch values
(1,'Görlitz','DE'), (2,'Saint-Étienne','FR'), (3,'Αθήνα','GR'), (4,'函館','JP'), (5,'Gdańsk','PL'),
(6,'Leith','GB');
insert into employee values
(1,'Käthe Zöllner',1,null,'2013-06-03'), (2,'Dörte Görlitz',1,1,'2017-12-15'),
(3,'Anneliese Tießen',1,1,'2016-01-23'), (4,'Ulrike Görlitz',1,1,'2020-01-16'),
(5,'Noémie Fauçon',2,null,'2018-08-26'), (6,'Benoît Noël',2,5,'2016-08-24'),
(7,'Benoît Gâtinais',2,5,'2020-03-04'), (8,'Maëlys Gâtinais',2,5,'2013-05-05'),
(9,'Σοφία Νικηφόρου',3,null,'2019-07-23'), (10,'Αγγελική Ζερβός',3,9,'2016-01-05'),
(11,'Δημήτρης Παππάς',3,9,'2019-04-08'), (12,'Μιχάλης Παππάς',3,9,'2008-05-12'),
(13,'小松 花子',4,null,'2012-06-03'), (14,'川村 陽子',4,13,'2010-11-02'), (15,'森下 陽子',4,13,'2022-03-03'),
(16,'上野 美咲',4,13,'2017-04-21'), (17,'Grażyna Brzęczek',5,null,'2012-06-27'),
(18,'Żaneta Jastrząb',5,17,'2012-09-01'), (19,'Czesław Jastrząb',5,17,'2010-04-04'),
(20,'Ścibor Świątek',5,17,'2016-12-10'), (21,'Agnes Pendry',6,null,'2021-08-03'),
(22,'Ivor O''Dowd',6,21,'2022-06-08'), (23,'Moira MacRae',6,21,'2021-09-07'),
(24,'Daisy Everly',6,21,'2013-03-22');
