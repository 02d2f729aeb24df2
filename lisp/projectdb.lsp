;;; The application layer over the project database: the Project Explorer's queries and the
;;; repair of a damaged project file, through the host's kvdb- functions.

;; The project database file of the current drawing's folder (the one file whose name holds
;; "kv_hvac"), or nil when there is none, or several.
(defun projectdb-currentFile ()
  (if getvar (kvdb-find (getvar "DWGPREFIX") "kv_hvac")))

;; Runs SQL on the current project and answers the count n, then the n distinct values of COLUMN,
;; ordered by SORTCOLUMN. Without a project file: no answer, the explorer shows no rows.
(defun hvac-projectExplorer_sqlQuery (sql column sortColumn / file values)
  (if (setq file (projectdb-currentFile))
    (progn
      (setq values (kvdb-query file (projectdb-explorerSql sql column sortColumn) column sortColumn T))
      (cons (length values) values))))

;; "Select * from ..." asks for every column of every row, when only COLUMN and SORTCOLUMN are
;; read: a large project's tables are wide, so the query names the two.
(defun projectdb-narrowSelect (sql column sortColumn)
  (if (= (strcase (substr sql 1 14)) "SELECT * FROM ")
    (strcat "Select distinct " column ", " sortColumn " " (substr sql 10))
    sql))

;; The statement that answers the explorer's question SQL with the least reading that the
;; schema's indices allow; the answer stays that of SQL, but for the test of an empty table.
;; - "Select * from tblX where bDeleted = 0" asking for the key ixX by itself is how the explorer
;;   tests whether tblX holds any live row: it reads only whether the answer is empty, so one row
;;   answers.
;; - The distinct drawings or air systems of a table's rows are few over many rows: they are
;;   found by stepping from one value to the next through an index, not by reading every row.
;; - Otherwise only distinct rows come back, and a join of diffusers with their schedule rows
;;   starts from the schedule rows (see projectdb-joinOrder).
(defun projectdb-explorerSql (sql column sortColumn / parts)
  (setq parts (projectdb-splitSelect sql))
  (cond
    ((null parts) (projectdb-narrowSelect sql column sortColumn))
    ((and (= column sortColumn) (= (car parts) "*") (= (strcase (caddr parts)) "BDELETED = 0")
          (= (strcase column) (strcase (strcat "ix" (substr (cadr parts) 4)))))
     (strcat "Select " column " from " (cadr parts) " where bDeleted = 0 limit 1"))
    ((and (= column sortColumn) (member (strcase column) '("DRAWING" "AIRFLOW"))
          (not (vl-string-search "," (cadr parts))))
     (projectdb-stepDistinct column (cadr parts) (caddr parts)))
    (T
     (strcat "Select distinct " (if (= (car parts) "*") (strcat column ", " sortColumn) (car parts))
             " from " (projectdb-joinOrder (cadr parts)) " where " (caddr parts)))))

;; The explorer joins diffusers with their schedule rows to reach a group's: the schedule rows of
;; a group are few, and each leads to its diffusers through an index, while SQLite left to itself
;; reads every diffuser first. A cross join keeps the order as written.
(defun projectdb-joinOrder (tables)
  (if (= (strcase tables) "TBLDIFFL, TBLDIFFS")
    "tblDiffS cross join tblDiffL"
    tables))

;; "Select COLUMNS from TABLES where CONDITION" as (COLUMNS TABLES CONDITION), or nil for any
;; other form (no condition, or an ordering or grouping of its own).
(defun projectdb-splitSelect (sql / upper from where)
  (setq upper (strcase sql))
  (if (and (= (substr upper 1 7) "SELECT ")
           (setq from (vl-string-search " FROM " upper))
           (setq where (vl-string-search " WHERE " upper from))
           (not (vl-string-search " ORDER BY " upper))
           (not (vl-string-search " GROUP BY " upper)))
    (list (vl-string-trim " " (substr sql 8 (- from 7)))
          (vl-string-trim " " (substr sql (+ from 7) (- where from 6)))
          (vl-string-trim " " (substr sql (+ where 8))))))

;; The distinct values of COLUMN in the rows of TABLE that meet CONDITION: each step seeks the
;; next value above the last one, so an index on the condition's columns and COLUMN answers in
;; one seek per value. A null value is one more row, as a plain distinct select would give it.
(defun projectdb-stepDistinct (column table condition / rows)
  (setq rows (strcat " from " table " where (" condition ") and " column))
  (strcat "with recursive kvStep(kvLast) as (select (select " column rows " is not null order by " column " limit 1)"
          " union all select (select " column rows " > kvStep.kvLast order by " column " limit 1)"
          " from kvStep where kvLast is not null)"
          " select kvLast as " column " from kvStep where kvLast is not null"
          " union all select null where exists (select 1" rows " is null)"))

;; Compacts the database file PATH, or with MODE "Repair" rebuilds a damaged one from what can be
;; read, keeping the damaged file beside it as PATH.damaged. T only when a file was repaired:
;; that is all the module asks when it finds a project file it cannot open.
(defun compactDatabase (path unused mode / saved pages)
  (cond
    ((equal mode "Repair")
     (if (setq saved (kvdb-repair path))
       (progn
         (princ (strcat "\nDatabase repaired: " (itoa saved) " rows saved. The damaged file is kept as "
                        path ".damaged"))
         T)))
    ((setq pages (kvdb-compact path))
     (princ (strcat "\nDatabase compacted: " (itoa (car pages)) " pages to " (itoa (cadr pages)) "."))
     nil)))

;; Makes FOLDER a project: creates its database file "<folder name>_kv_hvac.kv" unless the folder
;; has one already; with a server named for new projects (KV_PROJECTDB_SERVER) the project is made
;; there, behind the link file "<folder name>_kv_hvac.kvlink". Answers the path of the folder's
;; database file.
(defun projectdb-createProject (folder / existing name)
  (setq folder (vl-string-right-trim " /\\" folder))
  (cond
    ((setq existing (kvdb-find folder "kv_hvac")) existing)
    (T
     (setq name (kvdb-newPath folder "kv_hvac"))
     (kvdb-create name)
     name)))

;; TEXT with each MARK (a one-character string) doubled, as SQL escapes a quote inside a literal.
;; It searches from mark to mark, so a long text (a drawing's full path) costs one pass, not one
;; per character.
(defun projectdb-doubled (text mark / at)
  (setq at 0)
  (while (setq at (vl-string-search mark text at))
    (setq text (strcat (substr text 1 at) mark (substr text (1+ at))) at (+ at 2)))
  text)

;; The last part of a path: "/a/b/office" gives "office".
(defun projectdb-baseName (path / slash backslash)
  (setq slash (vl-string-position (ascii "/") path nil T)
        backslash (vl-string-position (ascii "\\") path nil T))
  (substr path (+ 2 (max (if slash slash -1) (if backslash backslash -1)))))
